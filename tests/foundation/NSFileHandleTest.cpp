#include "platform/foundation/NSFileHandle.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstring>

#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"

namespace foundation {
namespace {

using quill_test::Contents;
using quill_test::WriteFile;

using NSFileHandleTest = quill_test::DirectoryTest;

RetainPtr<NSFileHandle> OpenForUpdating(const std::string& path) {
  return NSFileHandle::fileHandleForUpdatingAtPath(NSString::stringWithFileSystemBytes(path).get());
}

/// The errno that \p operation raises; 0 when it succeeds.
template <typename Operation>
int ErrorOf(Operation operation) {
  try {
    operation();
    return 0;
  } catch (const NSException& raised) {
    return raised.code().value();
  }
}

/// Writes from offset 4 what cannot be written to its end for \p reason, and makes sure that the pointer is back.
void WriteTooMuch(const std::string& path, std::size_t length, int reason) {
  WriteFile(path, "head");
  const auto handle = OpenForUpdating(path);
  ASSERT_TRUE(handle);
  ASSERT_EQ(4u, handle->seekToEndOfFile());
  const std::string data(length, 'x');
  EXPECT_EQ(reason, ErrorOf([&] { handle->writeData({data.data(), data.size()}); }));
  EXPECT_EQ(4, ::lseek(handle->fileDescriptor(), 0, SEEK_CUR));
  EXPECT_LT(4u, handle->seekToEndOfFile()) << "nothing had been written when it failed";
}

TEST_F(NSFileHandleTest, PutsThePointerBackWhenTheDiskIsFull) {
  const quill_test::Mount small("tmpfs", Root(), "size=1m");
  if (!small) GTEST_SKIP() << small.WhyNot();
  WriteTooMuch(In("f"), 2 << 20, ENOSPC);
}

TEST_F(NSFileHandleTest, SurvivesTheFileSizeLimit) {
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit limit{100, RLIM_INFINITY};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) ::_exit(2);
    WriteTooMuch(In("f"), 200, EFBIG);
    EXPECT_EQ(EFBIG, ErrorOf([&] { OpenForUpdating(In("f"))->truncateFileAtOffset(101); }));
    ::_exit(HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_EQ(0, status) << "wait status";
}

TEST_F(NSFileHandleTest, OpensOnlyWhatCanBePositionedAndNeverWaits) {
  ASSERT_EQ(0, ::mkfifo(In("fifo").c_str(), 0666));
  ASSERT_EQ(0, ::symlink("loop", In("loop").c_str()));
  ASSERT_EQ(0, ::symlink("missing", In("dangling").c_str()));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, In("socket").c_str(), sizeof address.sun_path - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(0, ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address));
  ::close(socket);

  ::alarm(10);  // ends the program when something waits
  for (const auto& path : {Root(), In("fifo"), In("socket"), In("loop"), In("dangling"), In("missing"), std::string(),
                           std::string(5000, 'x'), std::string("/proc/self/status"), std::string("/dev/ptmx")}) {
    const auto text = NSString::stringWithFileSystemBytes(path);
    EXPECT_FALSE(NSFileHandle::fileHandleForReadingAtPath(text.get())) << path;
    EXPECT_FALSE(NSFileHandle::fileHandleForWritingAtPath(text.get())) << path;
    EXPECT_FALSE(NSFileHandle::fileHandleForUpdatingAtPath(text.get())) << path;
  }
  ::alarm(0);
  EXPECT_FALSE(NSFileHandle::fileHandleForReadingAtPath(nullptr));
  EXPECT_TRUE(OpenForUpdating("/dev/null"));
}

TEST_F(NSFileHandleTest, WritesAndTruncatesAtTheFilePointer) {
  WriteFile(In("f"), "0123456789");
  const auto handle = OpenForUpdating(In("f"));
  handle->seekToFileOffset(2);
  handle->writeData({"ab", 2});
  handle->writeData({nullptr, 0});
  handle->writeData({"c", 1});
  EXPECT_EQ("01abc56789", Contents(In("f")));
  handle->truncateFileAtOffset(12);
  handle->writeData({"z", 1});
  handle->synchronizeFile();
  EXPECT_EQ(std::string("01abc56789\0\0z", 13), Contents(In("f")));
}

TEST_F(NSFileHandleTest, LooksForTheEndAgainOnceAnythingHappened) {
  WriteFile(In("f"), "12");
  const auto handle = OpenForUpdating(In("f"));
  EXPECT_EQ(2u, handle->seekToEndOfFile());
  WriteFile(In("f"), "1234");
  EXPECT_EQ(4u, handle->seekToEndOfFile());
  const auto moved = OpenForUpdating(In("f"));
  moved->seekToFileOffset(0);
  EXPECT_EQ(4u, moved->seekToEndOfFile());
  EXPECT_EQ(4, ::lseek(moved->fileDescriptor(), 0, SEEK_CUR)) << "the end was told without going there";
}

TEST_F(NSFileHandleTest, RaisesTheReasonOfEveryFailure) {
  WriteFile(In("f"), "12");
  const auto handle = OpenForUpdating(In("f"));
  const unsigned long long tooFar = 1ull << 63;
  EXPECT_EQ(EINVAL, ErrorOf([&] { handle->seekToFileOffset(tooFar); }));
  EXPECT_EQ(EINVAL, ErrorOf([&] { handle->truncateFileAtOffset(tooFar); }));
  EXPECT_EQ(2u, handle->seekToEndOfFile());

  handle->closeFile();
  EXPECT_EQ(0, ErrorOf([&] { handle->closeFile(); }));
  EXPECT_EQ(EBADF, ErrorOf([&] { (void)handle->seekToEndOfFile(); }));
  EXPECT_EQ(EBADF, ErrorOf([&] { handle->writeData({"x", 1}); }));
  EXPECT_EQ(EBADF, ErrorOf([&] { handle->synchronizeFile(); }));
  EXPECT_EQ(-1, handle->fileDescriptor());
}

TEST_F(NSFileHandleTest, DataReachesTheFileOrSaysNo) {
  const auto path = NSString::stringWithFileSystemBytes(In("f"));
  EXPECT_TRUE((NSData{"longer", 6}.writeToFile(path.get())));
  EXPECT_TRUE((NSData{"short", 5}.writeToFile(path.get())));
  EXPECT_EQ("short", Contents(In("f")));
  const auto full = NSString::stringWithUTF8String("/dev/full");
  EXPECT_FALSE((NSData{"x", 1}.writeToFile(full.get())));
  EXPECT_FALSE((NSData{"x", 1}.writeToFile(nullptr)));
}

}  // namespace
}  // namespace foundation
