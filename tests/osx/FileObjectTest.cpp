// The file object: positions, failures and recovery, and a random walk against a vector of bytes.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <vector>

#include "platform/foundation/NSException.h"
#include "platform/foundation/NSFileHandle.h"
#include "platform/foundation/NSString.h"
#include "platform/osx/FILEWrapper.h"
#include "tests/support/Mount.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

using quill::foundation::NSFileHandle;
using quill::foundation::NSString;

class FileObjectTest : public ManagerTest {
 protected:
  std::unique_ptr<IQuillFileReadWriteTemp> Open() {
    return std::unique_ptr<IQuillFileReadWriteTemp>(manager.FileOpen(At("f"), 0x13));
  }

  quill::foundation::RetainPtr<NSFileHandle> HandleForReading() {
    return NSFileHandle::fileHandleForReadingAtPath(NSString::stringWithUTF8String(In("f").c_str()).get());
  }

  static long long Position(IQuillFileReadOnly& file) {
    long long position = -1;
    EXPECT_TRUE(file.Tell(position));
    return position;
  }
  static long long SizeOf(IQuillFileReadOnly& file) {
    long long size = -1;
    EXPECT_TRUE(file.Size(size));
    return size;
  }
  static std::string Read(IQuillFileReadOnly& file, unsigned long count) {
    std::string bytes(count, '?');
    EXPECT_TRUE(file.Read(bytes.data(), count, count));
    return bytes.substr(0, count);
  }

  /// Writes more than there is room for, and then what there is room for.
  void WriteBeyondALimit(int code) {
    const auto file = Open();
    ASSERT_TRUE(file && file->Write("head", 4));
    const std::vector<char> megabytes(3 << 20, 'm');
    EXPECT_EQ("false, " + std::to_string(code) + " recorded", Outcome(file->Write(megabytes.data(), megabytes.size())));
    EXPECT_EQ(4, Position(*file));
    EXPECT_TRUE(file->Write("tail", 4) && file->Truncate());  // it acts where it says it stands
    EXPECT_EQ("headtail", Contents(In("f")));
    const std::unique_ptr<IQuillFileReadWriteTemp> appending(manager.FileOpen(At("f"), 0x03));
    auto& append = static_cast<QuillFileBase&>(*appending);
    long long position = 0;
    ASSERT_TRUE(appending->Seek(2, kQuillFileSeekBegin, position));
    EXPECT_FALSE(append.Append(megabytes.data(), megabytes.size()));
    EXPECT_EQ(2, Position(*appending));
    EXPECT_TRUE(appending->Write("XX", 2));
    EXPECT_EQ("heXXtail", Contents(In("f")).substr(0, 8));
    manager.Forget();
  }
};

TEST_F(FileObjectTest, SeekCountsFromItsOriginAndRefusesWhatIsOutOfRange) {
  WriteFile(In("f"), std::string(100, 'x'));
  const auto file = Open();
  const std::tuple<long long, int, bool, long long> rows[] = {
      {0, 2, true, 100},        {5, 7, true, 105},        {LLONG_MAX, 1, true, LLONG_MAX}, {1, 0, false, 0},
      {LLONG_MAX, 2, false, 0}, {LLONG_MIN, 2, false, 0}, {LLONG_MIN, 0, false, 0},        {-100, 2, true, 0},
      {-101, 2, false, 0},      {50, 1, true, 50}};
  for (const auto& [offset, origin, succeeds, position] : rows) {
    long long reached = -7;
    EXPECT_EQ(succeeds, file->Seek(offset, static_cast<EQuillFileSeek>(origin), reached)) << offset << " " << origin;
    EXPECT_TRUE(position == reached && position == Position(*file)) << offset << " " << origin << ": " << reached;
    EXPECT_EQ(succeeds ? 0 : 2038, file->GetLastError());
  }
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(FileObjectTest, FillsAGapWithZerosEvenBeyond4GiB) {
  const auto file = Open();
  long long position = 0;
  constexpr long long kFar = (5LL << 30) + 3;
  EXPECT_TRUE(file->Seek(kFar, kQuillFileSeekBegin, position) && file->Write("end", 3));
  EXPECT_EQ(kFar + 3, SizeOf(*file));
  EXPECT_TRUE(file->Seek(kFar - 2, kQuillFileSeekBegin, position));
  EXPECT_EQ(std::string("\0\0end", 5), Read(*file, 8));
}

TEST_F(FileObjectTest, SeesWhatOthersDoOnlyAfterItsOwnWrite) {
  WriteFile(In("f"), "0123456789");
  const auto file = Open();
  std::filesystem::resize_file(In("f"), 4);
  EXPECT_EQ("0123", Read(*file, 32));
  EXPECT_EQ("", Read(*file, 32));
  EXPECT_EQ(10, SizeOf(*file));
  std::filesystem::resize_file(In("f"), 20);
  EXPECT_TRUE(file->Write("x", 1));
  EXPECT_EQ(20, SizeOf(*file));
}

TEST_F(FileObjectTest, NeverCutsWhatOthersHaveWrittenBehindItsEnd) {
  WriteFile(In("f"), "0123456789");
  const std::unique_ptr<IQuillFileReadWriteTemp> file(manager.FileOpen(At("f"), 0x03));
  const std::string longer(1000, 'o');
  WriteFile(In("f"), longer);
  long long position = 0;
  EXPECT_TRUE(file->Seek(20, kQuillFileSeekBegin, position) && file->Write("x", 1));
  std::string expected = longer;
  expected[20] = 'x';
  EXPECT_EQ(expected, Contents(In("f")));
}

TEST_F(FileObjectTest, RemovesAFileButNoDirectoryThatHasItsPath) {
  namespace fs = std::filesystem;
  for (const bool isDirectory : {false, true}) {
    std::unique_ptr<IQuillFileReadWriteTemp> file(manager.FileOpen(At("f"), 0x33));
    static_cast<QuillFileBase&>(*file).setAutoDelete(true);
    fs::rename(In("f"), In("moved"));
    if (isDirectory) {
      fs::create_directories(In("f/sub"));
    } else {
      WriteFile(In("f"), "another");
    }
    file.reset();
    EXPECT_EQ(isDirectory, fs::exists(In("f/sub")));
    EXPECT_EQ(isDirectory, fs::exists(In("f")));
    EXPECT_TRUE(fs::exists(In("moved")));
  }
}

TEST_F(FileObjectTest, ReportsAFailedReadAndRecovers) {
  WriteFile(In("f"), "abcdef");
  const auto handle = HandleForReading();
  FILEWrapper file(manager, At("f"), handle.get(), false);
  EXPECT_EQ("ab", Read(file, 2));

  const int descriptor = handle->fileDescriptor(), kept = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  const int directory = ::open(Root().c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(descriptor, ::dup3(directory, descriptor, O_CLOEXEC));  // what no system reads bytes from
  char buffer[2];
  unsigned long got = 99;
  EXPECT_EQ("false, nothing", Outcome(file.Read(buffer, 2, got)));
  EXPECT_EQ(0u, got);
  EXPECT_EQ(2038, file.GetLastError());
  EXPECT_EQ(2, Position(file));

  ASSERT_EQ(descriptor, ::dup3(kept, descriptor, O_CLOEXEC));
  EXPECT_TRUE(::close(kept) == 0 && ::close(directory) == 0);
  EXPECT_EQ("cdef", Read(file, 8));
}

TEST_F(FileObjectTest, AFullDiskIsACodeAndNotTheEnd) {
  const Mount disk("tmpfs", Root(), "size=1m");
  if (!disk) GTEST_SKIP() << disk.WhyNot();
  WriteBeyondALimit(3004);
}

TEST_F(FileObjectTest, AFileSizeLimitIsACodeAndNotTheEnd) {
  rlimit before{};
  ASSERT_EQ(0, ::getrlimit(RLIMIT_FSIZE, &before));
  const rlimit limit{1 << 20, before.rlim_max};
  ASSERT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &limit));
  WriteBeyondALimit(2038);
  ASSERT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &before));
}

TEST_F(FileObjectTest, OnlyRawWritingLetsTheExceptionOut) {
  WriteFile(In("f"), "x");
  FILEWrapper file(manager, At("f"), HandleForReading().get(), false);
  EXPECT_THROW(file.prvWrite("y", 1), quill::foundation::NSException);
  EXPECT_THROW(file.prvAppend("y", 1), quill::foundation::NSException);
  EXPECT_EQ("nothing", manager.Reason());
  EXPECT_EQ("false, 2038 recorded", Outcome(file.Write("y", 1)));
  EXPECT_EQ("false, 2038 recorded", Outcome(file.Append("y", 1)));
}

// What a file object should be.
struct Model {
  std::string bytes;
  std::size_t position = 0;

  bool Seek(long long offset, EQuillFileSeek origin) {
    const std::size_t bases[] = {position, 0, bytes.size()};
    const long long target = static_cast<long long>(bases[origin]) + offset;
    position = static_cast<std::size_t>(std::max(target, 0LL));
    return target >= 0;
  }
  std::string Read(std::size_t count) {
    const std::string got = position < bytes.size() ? bytes.substr(position, count) : "";
    position += got.size();
    return got;
  }
  void Write(const std::string& data) {
    bytes.resize(std::max(bytes.size(), position));
    bytes.replace(position, data.size(), data);
    position += data.size();
  }
};

TEST_F(FileObjectTest, BehavesAsItsModelThroughAnyOperations) {
  const char* const wanted = std::getenv("QUILL_MODEL_OPERATIONS");
  const std::size_t operations = wanted ? std::strtoul(wanted, nullptr, 10) : 20000;
  const auto seed = std::random_device{}();
  std::printf("seed %u, %zu operations\n", seed, operations);
  std::mt19937 random(seed);
  const auto upTo = [&](int limit) { return std::uniform_int_distribution<int>(0, limit)(random); };

  Model model;
  auto file = Open();
  for (std::size_t step = 0; step < operations && !HasFailure(); ++step) {
    SCOPED_TRACE(step);
    std::string data(static_cast<std::size_t>(upTo(300)), '\0');
    for (char& byte : data) byte = static_cast<char>(upTo(255));
    switch (upTo(5)) {
      case 0: {
        const auto origin = static_cast<EQuillFileSeek>(upTo(2));
        const long long offset = upTo(6000) - 2000;
        long long reached = 0;
        EXPECT_EQ(model.Seek(offset, origin), file->Seek(offset, origin, reached));
        EXPECT_EQ(model.position, static_cast<std::size_t>(reached));
        break;
      }
      case 1:
        EXPECT_EQ(model.Read(data.size()), Read(*file, data.size()));
        break;
      case 2:
        EXPECT_TRUE(file->Write(data.data(), data.size()));
        model.Write(data);
        break;
      case 3:
        EXPECT_TRUE(static_cast<QuillFileBase*>(file.get())->Append(data.data(), data.size()));
        model.position = model.bytes.size();
        model.Write(data);
        break;
      case 4:
        if (upTo(5) != 0) break;
        EXPECT_TRUE(file->Truncate());
        model.bytes.resize(model.position);
        break;
      default:
        if (upTo(20) != 0) break;
        EXPECT_TRUE(file->Flush());
        file = Open();
        EXPECT_EQ(model.bytes, Contents(In("f")));
        model.position = 0;
    }
    EXPECT_EQ(model.position, static_cast<std::size_t>(Position(*file)));
    EXPECT_EQ(model.bytes.size(), static_cast<std::size_t>(SizeOf(*file)));
  }
}

}  // namespace
}  // namespace quill_test
