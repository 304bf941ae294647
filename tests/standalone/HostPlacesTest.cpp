// The standalone manager's own operations: places, marks, dates, permissions, questions.
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>

#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"
#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

namespace quill_test {
namespace {

class HostTest : public DirectoryTest {
 protected:
  static unsigned ModeOf(const std::string& path) {
    struct ::stat status {};
    EXPECT_EQ(0, ::stat(path.c_str(), &status)) << path;
    return status.st_mode & 07777;
  }

  RecordingManager manager;
  QuillFileString result;
};

TEST_F(HostTest, KeepsTheProgramsDirectoriesUnderTheBaseDirectories) {
  const ScopedVariable home("HOME", Root());
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").filename();
  const struct {
    const char *variable, *value, *expected;
    bool (CoreFileManager::*find)(QuillFileString&);
  } rows[] = {
      {"XDG_STATE_HOME", nullptr, "/.local/state/", &CoreFileManager::DirGetLogDir},
      {"XDG_STATE_HOME", "relative", "/.local/state/", &CoreFileManager::DirGetLogDir},
      {"XDG_STATE_HOME", "/state", "/state/", &CoreFileManager::DirGetLogDir},
      {"XDG_DATA_HOME", "", "/.local/share/", &CoreFileManager::DirGetAppData},
      {"XDG_DATA_HOME", "/data", "/data/", &CoreFileManager::DirGetAppData},
  };
  for (const auto& row : rows) {
    const bool isAbsolute = row.value && row.value[0] == '/';
    const ScopedVariable base(row.variable,
                              row.value ? std::optional((isAbsolute ? Root() : "") + row.value) : std::nullopt);
    ASSERT_TRUE((manager.*row.find)(result));
    EXPECT_EQ(Root() + row.expected + program, Text(result));
    EXPECT_TRUE(std::filesystem::is_directory(Text(result)));
  }
}

TEST_F(HostTest, FindsResourcesInTheFirstDataDirectoryThatHasThem) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").filename();
  const ScopedVariable list("XDG_DATA_DIRS", "relative:" + In("none") + "::" + In("b") + ":" + In("a"));
  result = Path("before");
  EXPECT_FALSE(manager.DirGetAppResourceDir(result));
  EXPECT_EQ("before", Text(result));
  std::filesystem::create_directories(In("a/" + program));
  std::filesystem::create_directories(In("b"));
  WriteFile(In("b/" + program), "a file is no directory of resources");
  ASSERT_TRUE(manager.DirGetAppResourceDir(result));
  EXPECT_EQ(In("a/" + program), Text(result));
}

TEST_F(HostTest, KeepsThePrivatePlacePrivate) {
  const ScopedVariable temporary("TMPDIR", Root());
  ASSERT_TRUE(manager.DirGetQuillPlayerSandboxSafeTempLocation(Path("some/where/name"), result));
  const std::string directory = In("quill-" + std::to_string(::geteuid()));
  EXPECT_EQ(directory + "/name", Text(result));
  EXPECT_EQ(0700U, ModeOf(directory));
  EXPECT_EQ("nothing", manager.Reason());

  for (const char* name : {"..", ".", "a/.."}) {
    EXPECT_FALSE(manager.DirGetQuillPlayerSandboxSafeTempLocation(Path(name), result));
    EXPECT_EQ("3000 recorded", manager.Reason()) << name;
  }
  EXPECT_FALSE(manager.DirGetQuillPlayerSandboxSafeTempLocation(Path(""), result));

  ASSERT_EQ(0, ::chmod(directory.c_str(), 0755));  // somebody may have looked into it
  EXPECT_FALSE(manager.DirGetQuillPlayerSandboxSafeTempLocation(Path("name"), result));
  EXPECT_EQ("3001 recorded", manager.Reason());
  ASSERT_EQ(0, ::rmdir(directory.c_str()));
  ASSERT_EQ(0, ::mkdir(In("elsewhere").c_str(), 0700));
  ASSERT_EQ(0, ::symlink("elsewhere", directory.c_str()));  // planted
  EXPECT_FALSE(manager.DirGetQuillPlayerSandboxSafeTempLocation(Path("name"), result));
  EXPECT_EQ(directory + "/name", Text(result));
}

TEST_F(HostTest, CreatesTemporaryFilesForOneCallAlone) {
  const ScopedVariable temporary("TMPDIR", Root());
  QuillFileString other;
  ASSERT_TRUE(manager.FileGetTempPath(result));
  const mode_t before = ::umask(0777);
  const bool isMade = manager.FileGetTempPath(other);
  ::umask(before);
  ASSERT_TRUE(isMade);
  EXPECT_EQ(0600U, ModeOf(Text(other)));
  EXPECT_NE(Text(result), Text(other));
  EXPECT_EQ(0600U, ModeOf(Text(result)));
  EXPECT_TRUE(Text(result).starts_with(In("QuillTmp.")));

  const ScopedVariable missing("TMPDIR", In("missing"));
  EXPECT_FALSE(manager.FileGetTempPath(result));
  EXPECT_EQ("3003 recorded", manager.Reason());
  const ScopedVariable relative("TMPDIR", "relative");
  ASSERT_TRUE(manager.DirGetTemp(result));
  EXPECT_EQ("/tmp", Text(result));
}

TEST_F(HostTest, MarksDownloadedFiles) {
  WriteFile(In("f"), "");
  if (::setxattr(In("f").c_str(), "user.test", "", 0, 0) != 0) GTEST_SKIP() << "no extended attributes here";
  const auto path = Path(In("f"));
  EXPECT_FALSE(manager.GetDownloadedStatus(path));
  ASSERT_TRUE(manager.MarkDownloadedFileAsUnsafeOrSafe(path, Path("https://a/b"), Path("https://a/"), true));
  char value[32] = {};
  EXPECT_EQ(11, ::getxattr(In("f").c_str(), "user.xdg.origin.url", value, sizeof value));
  EXPECT_STREQ("https://a/b", value);
  ASSERT_TRUE(manager.MarkDownloadedFileAsUnsafeOrSafe(path, {}, {}, true));  // of unknown origin
  EXPECT_TRUE(manager.GetDownloadedStatus(path));
  EXPECT_EQ(-1, ::getxattr(In("f").c_str(), "user.xdg.referrer.url", nullptr, 0));
  for (int time = 0; time < 2; ++time) EXPECT_TRUE(manager.MarkDownloadedFileAsUnsafeOrSafe(path, {}, {}, false));
  EXPECT_FALSE(manager.GetDownloadedStatus(path));

  EXPECT_FALSE(manager.MarkDownloadedFileAsUnsafeOrSafe(Path(In("none")), {}, {}, true));
  EXPECT_EQ("3003 recorded", manager.Reason());
  EXPECT_FALSE(manager.ScanMediaFile(Path(In("none"))));
  EXPECT_EQ("3003 recorded", manager.Reason());
  EXPECT_TRUE(manager.ScanMediaFile(path));
}

TEST_F(HostTest, SetsDatesToTheMicrosecond) {
  WriteFile(In("f"), "");
  const double maximum = std::numeric_limits<double>::infinity();
  for (const double wanted : {0.0, -1.5, 1795393127388.245, -62135596800000.0, 951782400000.001}) {
    ASSERT_TRUE(manager.FileSetModificationDate(Path(In("f")), wanted)) << wanted;
    double created = 0, modified = 0;
    ASSERT_TRUE(manager.FileGetDates(Path(In("f")), created, modified));
    if (wanted < 0) continue;  // some file systems keep nothing before 1970 or 1901
    EXPECT_NEAR(wanted, modified, 0.0005);
  }
  for (const double refused : {maximum, -maximum, std::nan(""), 1e300}) {
    EXPECT_FALSE(manager.FileSetModificationDate(Path(In("f")), refused));
    EXPECT_EQ("3000 recorded", manager.Reason());
  }
  EXPECT_FALSE(manager.FileSetModificationDate(Path(In("none")), 0));
  EXPECT_EQ("3003 recorded", manager.Reason());
}

TEST_F(HostTest, TakesAndGivesWritePermission) {
  WriteFile(In("f"), "");
  ASSERT_EQ(0, ::chmod(In("f").c_str(), 04766));
  ASSERT_TRUE(manager.FileSetReadOnly(Path(In("f")), true));
  EXPECT_EQ(04544U, ModeOf(In("f")));
  ASSERT_TRUE(manager.FileSetReadOnly(Path(In("f")), false));
  EXPECT_EQ(04744U, ModeOf(In("f")));
}

TEST_F(HostTest, KnowsWhatIsHidden) {
  std::filesystem::create_directory(In("d"));
  WriteFile(In("d/.hidden"), "listed\ncafe\xcc\x81\nlast");
  const struct {
    const char* name;
    bool isHidden;
  } rows[] = {{"d/.x", true},   {"d/listed", true}, {"d/listed/", true}, {"d/caf\xc3\xa9", true},
              {"d/last", true}, {"d/list", false},  {"d/.", false},      {"d/..", false},
              {"d", false},     {".hidden", true}};
  for (const auto& row : rows) EXPECT_EQ(row.isHidden, manager.FileIsHidden(Path(In(row.name)))) << row.name;
  EXPECT_FALSE(manager.FileIsHidden({}));
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(HostTest, GivesCanonicalPathsComposed) {
  std::filesystem::create_directories(In("cafe\xcc\x81/d"));
  std::filesystem::create_symlink("cafe\xcc\x81/d", In("link"));
  ASSERT_TRUE(manager.FileGetCanonicalPath(Path(In("link/../d/.")), result));
  EXPECT_TRUE(Text(result).ends_with("/caf\xc3\xa9/d")) << Text(result);
  ASSERT_TRUE(manager.FileGetCanonicalPath(result, result));
  EXPECT_FALSE(manager.FileGetCanonicalPath(Path(In("none")), result));
  EXPECT_EQ("3003 recorded", manager.Reason());
}

TEST_F(HostTest, AsksDirectoriesAndVolumes) {
  bool answer = false;
  ASSERT_TRUE(manager.DirIsEmpty(Path(Root()), answer));
  EXPECT_TRUE(answer);
  WriteFile(In(".f"), "");
  ASSERT_TRUE(manager.DirIsEmpty(Path(Root()), answer));
  EXPECT_FALSE(answer);
  EXPECT_FALSE(manager.DirIsEmpty(Path(In(".f")), answer));
  EXPECT_EQ("3007 recorded", manager.Reason());
  EXPECT_FALSE(manager.DirSetCurrent(Path(In(".f"))));
  EXPECT_EQ("3007 recorded", manager.Reason());
  EXPECT_FALSE(manager.VolumeIsReadOnly(Path(In("none")), answer));
  EXPECT_EQ("3003 recorded", manager.Reason());
  ASSERT_TRUE(manager.VolumeIsReadOnly(Path(Root()), answer));
  EXPECT_FALSE(answer);

  const Mount mount("tmpfs", Root(), "size=64k");
  if (!mount) GTEST_SKIP() << mount.WhyNot();
  ASSERT_EQ(0, ::mount("", Root().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr));
  ASSERT_TRUE(manager.VolumeIsReadOnly(Path(Root()), answer));
  EXPECT_TRUE(answer);
  EXPECT_FALSE(manager.FileSetReadOnly(Path(Root()), true));
  EXPECT_EQ("3008 recorded", manager.Reason());
}

TEST_F(HostTest, RefusesPathsWithoutText) {
  const QuillFileString none;
  bool answer = false;
  EXPECT_FALSE(manager.DirIsEmpty(none, answer));
  EXPECT_FALSE(manager.DirSetCurrent(none));
  EXPECT_FALSE(manager.FileGetCanonicalPath(none, result));
  EXPECT_FALSE(manager.FileOrDirMoveToTrash(none, result));
  EXPECT_FALSE(manager.VolumeIsReadOnly(none, answer));
  EXPECT_FALSE(manager.FileSetModificationDate(none, 0));
  EXPECT_FALSE(manager.FileSetReadOnly(none, true));
  EXPECT_FALSE(manager.MarkDownloadedFileAsUnsafeOrSafe(none, none, none, true));
  EXPECT_FALSE(manager.GetDownloadedStatus(none));
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(HostTest, NotesWhatFailedBesideItsCode) {
  std::filesystem::create_directories(In("tree/sub"));
  WriteFile(In("f"), "");
  EXPECT_STREQ("", manager.LastFailure().operation);
  double created = 0, modified = 0;
  long long size = 0;
  const QuillFileString none = Path(In("none")), file = Path(In("f")), inFile = Path(In("f/x")),
                        tree = Path(In("tree")), inTree = Path(In("tree/sub/x"));
  const struct {
    std::function<bool()> fails;
    const char* operation;
    const QuillFileString &path, &second;
    int error;
  } rows[] = {
      {[&] { return manager.FileGetSize(none, size); }, "FileGetSize", none, result, ENOENT},  // records no code
      {[&] { return manager.FileGetDates(inFile, created, modified); }, "FileGetDates", inFile, result, ENOTDIR},
      {[&] { return manager.FileOpenReadOnly(none) != nullptr; }, "FileOpenReadOnly", none, result, ENOENT},
      {[&] { return manager.FileOpen(inFile, 0x12) != nullptr; }, "FileOpen", inFile, result, ENOTDIR},
      {[&] { return manager.FileDelete(tree); }, "FileDelete", tree, result, EPERM},
      {[&] { return manager.DirSetCurrent(file); }, "DirSetCurrent", file, result, ENOTDIR},
      {[&] { return manager.FileRename(file, tree); }, "FileRename", tree, file, EEXIST},
      {[&] { return manager.FileCreateSymLink(none, file); }, "FileCreateSymLink", file, none, EEXIST},
      {[&] { return manager.FileOrDirMove(tree, inTree, false); }, "FileOrDirMove", tree, inTree, EINVAL},
  };
  for (const auto& row : rows) {
    manager.ForgetFailure();
    EXPECT_FALSE(row.fails()) << row.operation;
    const OperationFailure& failure = manager.LastFailure();
    EXPECT_STREQ(row.operation, failure.operation);
    EXPECT_EQ(Text(row.path), Text(failure.path)) << row.operation;
    EXPECT_EQ(Text(row.second), Text(failure.secondPath)) << row.operation;
    EXPECT_EQ(row.error, failure.posixError) << row.operation;
  }
  errno = ERANGE;
  EXPECT_TRUE(manager.FileGetSize(file, size));
  EXPECT_EQ(ERANGE, errno);
  EXPECT_STREQ("FileOrDirMove", manager.LastFailure().operation);
}

TEST_F(HostTest, NotesTheEntryAtWhichATreeFailed) {
  std::filesystem::create_directories(In("tree/sub"));
  const Mount mount("tmpfs", In("tree/sub"), "size=64k");
  if (!mount) GTEST_SKIP() << mount.WhyNot();
  EXPECT_FALSE(manager.DirDeleteWithContents(Path(In("tree"))));
  EXPECT_EQ("3013 recorded", manager.Reason());
  EXPECT_EQ("sub", manager.LastFailure().entry);
  EXPECT_EQ(EBUSY, manager.LastFailure().posixError);
}

}  // namespace
}  // namespace quill_test
