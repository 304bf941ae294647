// Questions about paths: answers, codes, and that nothing is written on failure.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURL.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "tests/support/Fixture.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

using foundation::NSError;
using foundation::NSString;

class StatusTest : public DirectoryTest {
 protected:
  void SetUp() override {
    DirectoryTest::SetUp();
    WriteFile(In("file"), "0123456789");
    ASSERT_EQ(0, ::mkdir(In("directory").c_str(), 0755));
    ASSERT_EQ(0, ::symlink("file", In("to file").c_str()));
    ASSERT_EQ(0, ::symlink("directory", In("to directory").c_str()));
    ASSERT_EQ(0, ::symlink("nothing", In("dangling").c_str()));
    ASSERT_EQ(0, ::symlink("loop", In("loop").c_str()));
  }

  RecordingManager manager;
};

TEST_F(StatusTest, AnswersForWhateverStandsAtThePath) {
  const struct {
    std::string name;
    bool exists, isDirectory, isLink;
  } rows[] = {
      {"file", true, false, false},       {"directory", true, true, false}, {"to file", true, false, true},
      {"to directory", true, true, true}, {"dangling", false, false, true}, {"loop", false, false, true},
      {"missing", false, false, false},   {"file/x", false, false, false},
  };
  for (const auto& [name, exists, isDirectory, isLink] : rows) {
    const auto path = Path(In(name));
    long long size = -1;
    double created = -1, modified = -1;
    EXPECT_EQ(exists, manager.FileExists(path)) << name;
    EXPECT_EQ(isDirectory, manager.FileIsDir(path)) << name;
    EXPECT_EQ(isLink, manager.FileIsSymLink(path)) << name;
    EXPECT_EQ(exists, manager.FileGetSize(path, size)) << name;
    EXPECT_EQ(exists ? (isDirectory ? size : 10) : -1, size) << name;
    EXPECT_EQ(exists ? 3 : 0, manager.FileGetEffectivePermissions(path)) << name;
    EXPECT_EQ("nothing", manager.Reason()) << name;
    EXPECT_EQ(exists, manager.FileGetDates(path, created, modified)) << name;
    EXPECT_EQ(exists ? "nothing" : "3003 recorded", manager.Reason()) << name;
    EXPECT_EQ(0u, manager.FileGetCreator(path)) << name;
    EXPECT_EQ("3003 recorded", manager.Reason()) << name;
    if (!exists) {
      EXPECT_EQ(-1, created);
    }
  }
}

TEST_F(StatusTest, WithoutTextEverythingFailsAndNothingIsWritten) {
  const QuillFileString none;
  long long size = -1;
  double first = -1, second = -1;
  EXPECT_FALSE(manager.FileExists(none) || manager.FileIsDir(none) || manager.FileIsSymLink(none));
  EXPECT_FALSE(manager.FileGetSize(none, size) || manager.FileGetDates(none, first, second));
  EXPECT_FALSE(manager.FileGetDiskSpace(none, first, second) || manager.FileGetSpaceAvailable(none, first));
  EXPECT_EQ(0, manager.FileGetEffectivePermissions(none));
  EXPECT_EQ(0u, manager.FileGetCreator(none));
  EXPECT_TRUE(size == -1 && first == -1 && second == -1);
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(StatusTest, DatesAreMilliseconds) {
  const timespec times[] = {{1, 0}, {1, 500'000'000}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, In("file").c_str(), times, 0));
  double created = 0, modified = 0;
  ASSERT_TRUE(manager.FileGetDates(Path(In("file")), created, modified));
  EXPECT_EQ(1500.0, modified);
  EXPECT_GT(created, 0);
}

TEST_F(StatusTest, PermissionLevelsAreThoseOfTheEffectiveUser) {
  const std::pair<mode_t, int> rows[] = {{0600, 3}, {0400, 2}, {0200, 1}, {0000, 1}};
  AsOrdinaryUser(Root(), [&] {
    for (const auto& [mode, level] : rows) {
      WriteFile(In("mine"), "x");
      ASSERT_EQ(0, ::chmod(In("mine").c_str(), mode));
      EXPECT_EQ(level, manager.FileGetEffectivePermissions(Path(In("mine")))) << std::oct << mode;
      ASSERT_EQ(0, ::unlink(In("mine").c_str()));
    }
  });
}

TEST_F(StatusTest, SpaceIsWhatTheVolumeSays) {
  struct Doubling : RecordingManager {
    bool FileGetDiskSpace(const QuillFileString&, double& freeBytes, double& totalBytes) override {
      freeBytes = 21, totalBytes = 42;
      return true;
    }
  } doubling;
  double free = 0, total = 0;
  ASSERT_TRUE(manager.FileGetDiskSpace(Path(Root()), free, total));
  struct statvfs volume {};
  ASSERT_EQ(0, ::statvfs(Root().c_str(), &volume));
  EXPECT_EQ(static_cast<double>(volume.f_blocks) * static_cast<double>(volume.f_frsize), total);
  EXPECT_LE(free, total);
  ASSERT_TRUE(doubling.FileGetSpaceAvailable(Path(Root()), free));
  EXPECT_EQ(21, free);
}

TEST(ErrorTranslation, FollowsTheTables) {
  using namespace OSXFileSystemUtils;
  const std::pair<int, int> posix[] = {
      {EPERM, 3006},   {ENOENT, 3003}, {EIO, 2038},    {EACCES, 3001}, {EBUSY, 3013},     {EEXIST, 3011},
      {ENOTDIR, 3007}, {EINVAL, 3000}, {ENOSPC, 3004}, {EROFS, 3008},  {ELOOP, 3000},     {ENAMETOOLONG, 3000},
      {EDQUOT, 3004},  {0, 2038},      {EISDIR, 2038}, {EINTR, 2038},  {ENOTEMPTY, 3010}, {-1, 2038}};
  for (const auto& [error, code] : posix) {
    EXPECT_EQ(code, _PosixErrToQuillErr(error)) << error;
    const auto boxed = NSError::errorWithDomain(foundation::NSPOSIXErrorDomain(), error);
    EXPECT_EQ(error == 0 ? 0 : code, _NSErrorToQuillErr(boxed.get())) << error;
  }
  const std::pair<int, int> cocoa[] = {{4, 3003},   {255, 3013}, {257, 3001}, {258, 3000}, {260, 3003}, {513, 3001},
                                       {514, 3000}, {640, 3004}, {516, 2038}, {642, 2038}, {2, 2038}};
  for (const auto& [error, code] : cocoa) {
    EXPECT_EQ(code, _CocoaErrToQuillErr(error)) << error;
    const auto boxed = NSError::errorWithDomain(foundation::NSCocoaErrorDomain(), error);
    EXPECT_EQ(code, _NSErrorToQuillErr(boxed.get())) << error;
  }
  const auto other = NSString::stringWithUTF8String("NSOSStatusErrorDomain");
  EXPECT_EQ(0, _NSErrorToQuillErr(nullptr));
  EXPECT_EQ(2038, _NSErrorToQuillErr(NSError::errorWithDomain(other.get(), 2).get()));
  EXPECT_EQ(2038, _NSErrorToQuillErr(NSError::errorWithDomain(nullptr, 2).get()));
  EXPECT_EQ(0, _NSErrorToQuillErr(NSError::errorWithDomain(nullptr, 0).get()));
  // Only the low 32 bits reach the table, but all of them are looked at for 0.
  EXPECT_EQ(2038, _NSErrorToQuillErr(NSError::errorWithDomain(foundation::NSCocoaErrorDomain(), 1L << 32).get()));
}

TEST(PathStringsFromThePlatform, AreComposedOnRequest) {
  const auto decomposed = NSString::stringWithUTF8String("e\xcc\x81");
  QuillFileString result;
  EXPECT_TRUE(OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(decomposed.get(), result, true));
  EXPECT_EQ("\xc3\xa9", Text(result));
  EXPECT_TRUE(OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(decomposed.get(), result, false));
  EXPECT_EQ("e\xcc\x81", Text(result));
  EXPECT_TRUE(OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(nullptr, result, true));
  EXPECT_EQ("e\xcc\x81", Text(result));

  const auto url = foundation::NSURL::URLWithString(NSString::stringWithUTF8String("file:///tmp/a%20e%CC%81").get());
  EXPECT_TRUE(OSXFileSystemUtils::_GetFilePathFromNSURL(url.get(), result));
  EXPECT_EQ("/tmp/a \xc3\xa9", Text(result));
  EXPECT_FALSE(OSXFileSystemUtils::_GetFilePathFromNSURL(nullptr, result));
  EXPECT_EQ("/tmp/a \xc3\xa9", Text(result));
}

}  // namespace
}  // namespace quill_test
