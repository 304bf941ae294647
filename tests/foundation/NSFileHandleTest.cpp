#include "platform/foundation/NSFileHandle.h"

#include <unistd.h>

#include "tests/support/Fixture.h"

namespace foundation {
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
  const auto moved = OpenForUpdating(In("f"));
  moved->seekToFileOffset(0);
  EXPECT_EQ(4u, moved->seekToEndOfFile());
  EXPECT_EQ(4, ::lseek(moved->fileDescriptor(), 0, SEEK_CUR)) << "the end was told without going there";
}

}  // namespace
}  // namespace foundation
