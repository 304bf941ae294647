#include "platform/foundation/NSFileHandle.h"

#include <unistd.h>

#include "tests/support/Fixture.h"

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
