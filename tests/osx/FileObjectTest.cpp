// The file object: positions, failures and recovery, and a random walk against a vector of bytes.

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "platform/foundation/NSException.h"
#include "platform/foundation/NSFileHandle.h"
#include "platform/foundation/NSString.h"
#include "platform/osx/FILEWrapper.h"
#include "tests/support/Fixture.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

using foundation::NSFileHandle;
using foundation::NSString;

class FileObjectTest : public DirectoryTest {
 protected:
  std::unique_ptr<IQuillFileReadWriteTemp> Open(const std::string& path, unsigned flags = 0x13) {
    return std::unique_ptr<IQuillFileReadWriteTemp>(manager.FileOpen(Path(path), flags));
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

  RecordingManager manager;
};

TEST_F(FileObjectTest, SeekCountsFromItsOriginAndRefusesTheRest) {
  WriteFile(In("f"), std::string(100, 'x'));
  const auto file = Open(In("f"));
  ASSERT_TRUE(file);
  const struct {
    long long offset;
    int origin;
    bool succeeds;
    long long position;
  } rows[] = {
      {0, 2, true, 100},
      {-10, 0, true, 90},
      {5, 7, true, 95},
      {-1, 1, false, 0},
      {LLONG_MAX, 1, true, LLONG_MAX},
      {1, 0, false, 0},
      {LLONG_MAX, 2, false, 0},
      {LLONG_MIN, 2, false, 0},
      {LLONG_MIN, 0, false, 0},
      {-100, 2, true, 0},
      {-101, 2, false, 0},
      {50, 1, true, 50},
  };
  for (const auto& [offset, origin, succeeds, position] : rows) {
    long long reached = -7;
    EXPECT_EQ(succeeds, file->Seek(offset, static_cast<EQuillFileSeek>(origin), reached)) << offset << " " << origin;
    EXPECT_EQ(position, reached) << offset << " " << origin;
    EXPECT_EQ(position, Position(*file));
    EXPECT_EQ(succeeds ? 0 : 2038, file->GetLastError());
  }
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(FileObjectTest, ReadsAfterAFailedSeekFromTheStart) {
  WriteFile(In("f"), "abcdef");
  const auto file = Open(In("f"));
  char buffer[16];
  unsigned long got = 0;
  long long position = 0;
  ASSERT_TRUE(file->Read(buffer, 4, got));
  ASSERT_FALSE(file->Seek(-1, kQuillFileSeekBegin, position));
  ASSERT_TRUE(file->Read(buffer, sizeof buffer, got));
  EXPECT_EQ("abcdef", std::string(buffer, got));
  ASSERT_TRUE(file->Read(buffer, sizeof buffer, got));
  EXPECT_EQ(0u, got);
}

TEST_F(FileObjectTest, FillsAGapWithZerosEvenBeyond4GiB) {
  const auto file = Open(In("f"));
  long long position = 0;
  constexpr long long kFar = (5LL << 30) + 3;
  ASSERT_TRUE(file->Seek(kFar, kQuillFileSeekBegin, position));
  ASSERT_TRUE(file->Write("end", 3));
  EXPECT_EQ(kFar + 3, SizeOf(*file));
  ASSERT_TRUE(file->Seek(kFar - 2, kQuillFileSeekBegin, position));
  char buffer[8];
  unsigned long got = 0;
  ASSERT_TRUE(file->Read(buffer, sizeof buffer, got));
  EXPECT_EQ(std::string("\0\0end", 5), std::string(buffer, got));
}

TEST_F(FileObjectTest, SeesWhatOthersDoOnlyAfterItsOwnWrite) {
  WriteFile(In("f"), "0123456789");
  const auto file = Open(In("f"));
  char buffer[32];
  unsigned long got = 0;
  ASSERT_EQ(0, ::truncate(In("f").c_str(), 4));
  ASSERT_TRUE(file->Read(buffer, sizeof buffer, got));
  EXPECT_EQ(4u, got);
  ASSERT_TRUE(file->Read(buffer, sizeof buffer, got));
  EXPECT_EQ(0u, got);
  EXPECT_EQ(10, SizeOf(*file));
  ASSERT_EQ(0, ::truncate(In("f").c_str(), 20));
  ASSERT_TRUE(file->Write("x", 1));
  EXPECT_EQ(20, SizeOf(*file));
}

TEST_F(FileObjectTest, ReportsAFailedReadAndRecovers) {
  WriteFile(In("f"), "abcdef");
  const auto handle = NSFileHandle::fileHandleForReadingAtPath(NSString::stringWithUTF8String(In("f").c_str()).get());
  FILEWrapper file(manager, Path(In("f")), handle.get(), false);
  char buffer[8];
  unsigned long got = 99;
  ASSERT_TRUE(file.Read(buffer, 2, got));

  const int kept = ::fcntl(handle->fileDescriptor(), F_DUPFD_CLOEXEC, 0);
  const int directory = ::open(Root().c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(handle->fileDescriptor(), ::dup3(directory, handle->fileDescriptor(), O_CLOEXEC));
  EXPECT_FALSE(file.Read(buffer, 2, got));
  EXPECT_EQ(0u, got);
  EXPECT_EQ(2038, file.GetLastError());
  EXPECT_EQ(2, Position(file));

  ASSERT_EQ(handle->fileDescriptor(), ::dup3(kept, handle->fileDescriptor(), O_CLOEXEC));
  ::close(kept);
  ::close(directory);
  ASSERT_TRUE(file.Read(buffer, sizeof buffer, got));
  EXPECT_EQ("cdef", std::string(buffer, got));
  EXPECT_EQ("nothing", manager.Reason());
}

// Writes beyond what the limit of the caller allows, and then what it allows.
void WriteAgainstALimit(RecordingManager& manager, const std::string& path, int code) {
  const std::unique_ptr<IQuillFileReadWriteTemp> file(manager.FileOpen(Path(path), 0x13));
  ASSERT_TRUE(file);
  const std::vector<char> megabytes(3 << 20, 'm');
  ASSERT_TRUE(file->Write("head", 4));
  EXPECT_FALSE(file->Write(megabytes.data(), megabytes.size()));
  EXPECT_EQ(std::to_string(code) + " recorded", manager.Reason());
  long long position = 0;
  EXPECT_TRUE(file->Tell(position));
  EXPECT_EQ(4, position);

  // The object acts where it says it stands.
  EXPECT_TRUE(file->Write("tail", 4));
  EXPECT_TRUE(file->Truncate());
  EXPECT_EQ("headtail", Contents(path));
}

TEST_F(FileObjectTest, AFullDiskIsACodeAndNotTheEnd) {
  if (::mount("quill-test", Root().c_str(), "tmpfs", 0, "size=1m") != 0) {
    GTEST_SKIP() << "mounting is not allowed here: " << std::strerror(errno);
  }
  WriteAgainstALimit(manager, In("f"), 3004);
  ASSERT_EQ(0, ::umount2(Root().c_str(), MNT_DETACH));
}

TEST_F(FileObjectTest, AFileSizeLimitIsACodeAndNotTheEnd) {
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit limit{1 << 20, RLIM_INFINITY};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) ::_exit(2);
    WriteAgainstALimit(manager, In("f"), 2038);
    ::_exit(HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_EQ(0, status) << "wait status";
}

TEST_F(FileObjectTest, RawWritingLetsTheExceptionOut) {
  WriteFile(In("f"), "x");
  const auto handle = NSFileHandle::fileHandleForReadingAtPath(NSString::stringWithUTF8String(In("f").c_str()).get());
  FILEWrapper file(manager, Path(In("f")), handle.get(), false);
  try {
    (void)file.prvWrite("y", 1);
    FAIL() << "a handle for reading was written to";
  } catch (const foundation::NSException& raised) {
    EXPECT_EQ(EBADF, raised.code().value());
  }
  EXPECT_FALSE(file.Append("y", 1));
  EXPECT_EQ("2038 recorded", manager.Reason());
}

TEST_F(FileObjectTest, RemovesItsFileThroughAnyInterface) {
  for (const bool throughAppend : {false, true}) {
    for (const bool marked : {false, true}) {
      WriteFile(In("f"), "x");
      const auto handle =
          NSFileHandle::fileHandleForUpdatingAtPath(NSString::stringWithUTF8String(In("f").c_str()).get());
      auto* file = new FILEWrapper(manager, Path(In("f")), handle.get(), true);
      file->setAutoDelete(marked);
      if (throughAppend) {
        delete static_cast<IQuillFileAppendOnly*>(file);
      } else {
        delete static_cast<IQuillFileReadOnly*>(file);
      }
      EXPECT_EQ(marked, ::access(In("f").c_str(), F_OK) != 0);
      EXPECT_EQ(-1, handle->fileDescriptor());
    }
  }
}

// The file as it should be, and the object's own view of it.
struct Model {
  std::vector<char> bytes;
  long long position = 0;

  long long Size() const { return static_cast<long long>(bytes.size()); }

  bool Seek(long long offset, EQuillFileSeek origin) {
    const long long bases[] = {position, 0, Size()};
    const long long target = bases[origin] + offset;
    position = std::max(target, 0LL);
    return target >= 0;
  }

  void Write(const std::vector<char>& data) {
    const auto end = static_cast<std::size_t>(position) + data.size();
    if (bytes.size() < end || bytes.size() < static_cast<std::size_t>(position)) bytes.resize(end);
    std::copy(data.begin(), data.end(), bytes.begin() + position);
    position += static_cast<long long>(data.size());
  }
};

std::size_t ModelOperations() {
  const char* wanted = std::getenv("QUILL_MODEL_OPERATIONS");
  return wanted ? std::strtoul(wanted, nullptr, 10) : 20000;
}

TEST_F(FileObjectTest, BehavesAsAVectorOfBytes) {
  const auto seed = std::random_device{}();
  std::printf("seed %u, %zu operations\n", seed, ModelOperations());
  std::mt19937 random(seed);
  const auto upTo = [&](long long limit) { return std::uniform_int_distribution<long long>(0, limit)(random); };

  Model model;
  auto file = Open(In("f"));
  for (std::size_t step = 0; step < ModelOperations() && !HasFailure(); ++step) {
    std::vector<char> data(static_cast<std::size_t>(upTo(300)));
    for (char& byte : data) byte = static_cast<char>(upTo(255));
    long long reached = 0;
    unsigned long got = 0;
    const long long size = model.Size();
    switch (upTo(8)) {
      case 0:
      case 1: {
        const auto origin = static_cast<EQuillFileSeek>(upTo(2));
        const long long offset = upTo(6000) - 2000;
        EXPECT_EQ(model.Seek(offset, origin), file->Seek(offset, origin, reached));
        EXPECT_EQ(model.position, reached);
        break;
      }
      case 2:
      case 3: {
        ASSERT_TRUE(file->Read(data.data(), data.size(), got));
        const auto expected = std::clamp<long long>(size - model.position, 0, static_cast<long long>(data.size()));
        ASSERT_EQ(expected, static_cast<long long>(got));
        EXPECT_TRUE(
            std::equal(data.begin(), data.begin() + expected, model.bytes.begin() + (got ? model.position : 0)));
        model.position += expected;
        break;
      }
      case 4:
      case 5:
        EXPECT_TRUE(file->Write(data.data(), data.size()));
        model.Write(data);
        break;
      case 6:
        EXPECT_TRUE(static_cast<QuillFileBase*>(file.get())->Append(data.data(), data.size()));
        model.position = size;
        model.Write(data);
        break;
      case 7:
        if (upTo(3) != 0) break;
        EXPECT_TRUE(file->Truncate());
        model.bytes.resize(static_cast<std::size_t>(model.position));
        break;
      default:
        if (upTo(20) != 0) break;
        EXPECT_TRUE(file->Flush());
        file.reset();
        EXPECT_EQ(std::string(model.bytes.begin(), model.bytes.end()), Contents(In("f")));
        file = Open(In("f"));
        model.position = 0;
    }
    EXPECT_EQ(model.position, Position(*file));
    EXPECT_EQ(model.Size(), SizeOf(*file)) << "step " << step;
  }
}

}  // namespace
}  // namespace quill_test
