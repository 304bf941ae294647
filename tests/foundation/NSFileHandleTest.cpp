#include "platform/foundation/NSFileHandle.h"

#include <unistd.h>

#include "tests/support/Fixture.h"

namespace quill::foundation {
namespace {

using quill_test::WriteFile;

using NSFileHandleTest = quill_test::DirectoryTest;

RetainPtr<NSFileHandle> OpenForUpdating(const std::string& path) {
  return NSFileHandle::fileHandleForUpdatingAtPath(NSString::stringWithFileSystemBytes(path).get());
}

TEST_F(NSFileHandleTest, LooksForTheEndAgainOnceAnythingHappened) {
  WriteFile(In("f"), "12");
  const auto handle = OpenForUpdating(In("f"));
  EXPECT_EQ(2u, handle->seekToEndOfFile());
  WriteFile(In("f"), "1234");
  EXPECT_EQ(4u, handle->seekToEndOfFile());
  const auto written = OpenForUpdating(In("f"));
  written->writeData({"567", 3});
  EXPECT_EQ(7u, written->seekToEndOfFile());
  const auto moved = OpenForUpdating(In("f"));
  moved->seekToFileOffset(0);
  EXPECT_EQ(7u, moved->seekToEndOfFile());
  EXPECT_EQ(7, ::lseek(moved->fileDescriptor(), 0, SEEK_CUR)) << "the end was told without going there";
}

TEST_F(NSFileHandleTest, HoldsNoDescriptorOnceItIsClosed) {
  WriteFile(In("f"), "");
  const auto handle = OpenForUpdating(In("f"));
  handle->closeFile();
  EXPECT_EQ(-1, handle->fileDescriptor()) << "closed again, it would be somebody else's";
  EXPECT_THROW(handle->writeData({"x", 1}), NSException);
}

}  // namespace
}  // namespace quill::foundation
