// Questions about paths: answers, codes, and that nothing is written on failure.

#include <filesystem>

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURL.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

using quill::foundation::NSError;
using quill::foundation::NSString;
using namespace OSXFileSystemUtils;
using StatusTest = ManagerTest;

TEST_F(StatusTest, AnswersForWhateverStandsAtThePath) {
  WriteFile(In("file"), "0123456789");
  std::filesystem::create_directory(In("directory"));
  for (const auto& [link, target] :
       {std::pair("to file", "file"), {"to directory", "directory"}, {"dangling", "nothing"}, {"loop", "loop"}}) {
    std::filesystem::create_symlink(target, In(link));
  }
  const std::tuple<std::string, bool, bool, bool> rows[] = {
      {"file", true, false, false},       {"directory", true, true, false}, {"to file", true, false, true},
      {"to directory", true, true, true}, {"dangling", false, false, true}, {"loop", false, false, true},
      {"missing", false, false, false},   {"file/x", false, false, false}};
  for (const auto& [name, exists, isDirectory, isLink] : rows) {
    SCOPED_TRACE(name);
    const auto path = At(name);
    long long size = -1;
    double created = -1, modified = -1;
    EXPECT_EQ(exists, manager.FileExists(path));
    EXPECT_EQ(isDirectory, manager.FileIsDir(path));
    EXPECT_EQ(isLink, manager.FileIsSymLink(path));
    EXPECT_EQ(exists, manager.FileGetSize(path, size));
    EXPECT_EQ(exists ? (isDirectory ? size : 10) : -1, size);
    EXPECT_EQ(exists ? 3 : 0, manager.FileGetEffectivePermissions(path));
    EXPECT_EQ("nothing", manager.Reason());
    EXPECT_EQ(exists ? "true, nothing" : "false, 3003 recorded",
              Outcome(manager.FileGetDates(path, created, modified)));
    EXPECT_EQ(exists, created > 0);
    EXPECT_NEAR(created, modified, 60'000) << "both are milliseconds, and the item is new";
    EXPECT_EQ("false, 3003 recorded", Outcome(manager.FileGetCreator(path) != 0));
  }
}

TEST_F(StatusTest, WithoutTextEveryOperationFailsAndWritesNothing) {
  const QuillFileString none, some = Path("x");
  QuillFileString text = Path("untouched");
  FindFileInfo info;
  long long size = -1;
  double first = -1, second = -1;
  bool answer = true;
  EXPECT_FALSE(manager.FileExists(none) || manager.FileIsDir(none) || manager.FileIsSymLink(none));
  EXPECT_FALSE(manager.FileGetSize(none, size) || manager.FileGetDates(none, first, second) ||
               manager.FileGetCreator(none));
  EXPECT_FALSE(manager.FileGetDiskSpace(none, first, second) || manager.FileGetSpaceAvailable(none, first));
  EXPECT_FALSE(manager.FileGetEffectivePermissions(none) || manager.FindFirst(none, info) || manager._FileCreate(none));
  EXPECT_FALSE(manager.DirDelete(none) || manager.DirDeleteWithContents(none) || manager.DirEnsure(none));
  EXPECT_FALSE(manager.FileRename(some, none) || manager.FileRename(none, some));
  EXPECT_FALSE(manager.FileOrDirCopy(none, some, true) || manager.FileOrDirMove(some, none, true));
  EXPECT_FALSE(manager.FileCreateTempInDir(none, text) || manager.DirCreateTempInDir(none, text));
  EXPECT_FALSE(manager.FileGetPathUrl(none, text) || manager.FileGetPathUrlPreVeranda(none, text));
  EXPECT_FALSE(manager.FileGetUrlPath(none, text) || manager.FileGetUrlPathPreVeranda(none, text));
  EXPECT_FALSE(manager.DirIsEmpty(none, answer) || manager.DirSetCurrent(none) || manager.FileIsHidden(none));
  EXPECT_FALSE(manager.FileGetCanonicalPath(none, text) || manager.FileOrDirMoveToTrash(none, text));
  EXPECT_FALSE(manager.VolumeIsReadOnly(none, answer) || manager.FileSetReadOnly(none, true));
  EXPECT_FALSE(manager.FileSetModificationDate(none, 0) || manager.GetDownloadedStatus(none));
  EXPECT_FALSE(manager.MarkDownloadedFileAsUnsafeOrSafe(none, none, none, true) || manager.ScanMediaFile(none));
  EXPECT_EQ("nothing", manager.Reason());
  EXPECT_EQ("false, 2038 recorded", Outcome(manager.FileDelete(none)));
  EXPECT_EQ("false, 2038 stored", Outcome(manager.FileReadSymLink(none, text)));
  EXPECT_EQ("false, 2038 stored", Outcome(manager.FileCreateSymLink(none, some)));
  EXPECT_EQ("untouched", Text(text));
  EXPECT_TRUE(size == -1 && first == -1 && second == -1 && answer);
}

TEST_F(StatusTest, AvailableSpaceIsAskedForThroughTheTable) {
  struct Promising : RecordingManager {
    bool FileGetDiskSpace(const QuillFileString&, double& freeBytes, double&) override {
      freeBytes = 21;
      return true;
    }
  } promising;
  double free = 0;
  EXPECT_TRUE(promising.FileGetSpaceAvailable(Path(Root()), free));
  EXPECT_EQ(21, free);
}

int CodeOf(NSString* domain, long error) { return _NSErrorToQuillErr(NSError::errorWithDomain(domain, error).get()); }

TEST(ErrorTranslation, FollowsTheTables) {
  const std::pair<int, int> posix[] = {{EPERM, 3006},  {ENOENT, 3003},       {EIO, 2038},    {EACCES, 3001},
                                       {EBUSY, 3013},  {EEXIST, 3011},       {EINVAL, 3000}, {ENOSPC, 3004},
                                       {ELOOP, 3000},  {ENAMETOOLONG, 3000}, {EDQUOT, 3004}, {ENOTDIR, 3007},
                                       {EISDIR, 2038}, {EROFS, 3008},        {-1, 2038},     {ENOTEMPTY, 3010}};
  for (const auto& [error, code] : posix)
    EXPECT_EQ(code, CodeOf(quill::foundation::NSPOSIXErrorDomain(), error)) << error;
  const std::pair<int, int> cocoa[] = {{4, 3003},   {255, 3013}, {257, 3001}, {258, 3000}, {260, 3003}, {513, 3001},
                                       {514, 3000}, {640, 3004}, {516, 2038}, {642, 2038}, {2, 2038}};
  for (const auto& [error, code] : cocoa)
    EXPECT_EQ(code, CodeOf(quill::foundation::NSCocoaErrorDomain(), error)) << error;
  EXPECT_EQ(2038, CodeOf(NSString::stringWithUTF8String("NSOSStatusErrorDomain").get(), 2));
  EXPECT_EQ(2038, CodeOf(nullptr, 2));
  EXPECT_TRUE(CodeOf(nullptr, 0) == 0 && _NSErrorToQuillErr(nullptr) == 0);
  EXPECT_TRUE(_PosixErrToQuillErr(0) == 2038 && _CocoaErrToQuillErr(0) == 2038);
  // Only the low 32 bits reach the table, but all of them are looked at for 0.
  EXPECT_EQ(2038, CodeOf(quill::foundation::NSCocoaErrorDomain(), 1L << 32));
}

TEST(PathsFromThePlatform, AreComposedOnRequest) {
  QuillFileString result;
  EXPECT_TRUE(SetQuillFileStringFromNSStringPath(NSString::stringWithUTF8String("e\xcc\x81").get(), result, false));
  EXPECT_TRUE(SetQuillFileStringFromNSStringPath(nullptr, result, true));
  EXPECT_EQ("e\xcc\x81", Text(result));
  const auto url = quill::foundation::NSURL::URLWithString(NSString::stringWithUTF8String("file:///a%20e%CC%81").get());
  EXPECT_TRUE(_GetFilePathFromNSURL(url.get(), result) && !_GetFilePathFromNSURL(nullptr, result));
  EXPECT_EQ("/a \xc3\xa9", Text(result));
}

}  // namespace
}  // namespace quill_test
