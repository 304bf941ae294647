// The standalone manager's own operations: places, marks, dates, permissions, questions, and its notes of failures.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/support/Mount.h"
#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

class HostTest : public ManagerTest {
 protected:
  /// What a failed operation recorded and noted: the code, the operation, its paths and the system's reason.
  std::string Noted(bool succeeded) {
    EXPECT_FALSE(succeeded);
    const quill::OperationFailure note = manager.LastFailure();
    manager.ForgetFailure();
    const std::string second = note.secondPath.isEmpty() ? "" : " " + Text(note.secondPath);
    return manager.Reason() + ": " + note.operation + " " + Text(note.path) + second + ", " +
           ::strerrorname_np(note.posixError);
  }

  const std::string program = fs::read_symlink("/proc/self/exe").filename();
  QuillFileString result;
};

TEST_F(HostTest, KeepsTheProgramsDirectoriesUnderTheBaseDirectories) {
  const ScopedVariable home("HOME", Root());
  using Find = bool (CoreFileManager::*)(QuillFileString&);
  const std::tuple<const char*, std::optional<std::string>, std::string, Find> rows[] = {
      {"XDG_STATE_HOME", std::nullopt, ".local/state/", &CoreFileManager::DirGetLogDir},
      {"XDG_STATE_HOME", "relative", ".local/state/", &CoreFileManager::DirGetLogDir},
      {"XDG_STATE_HOME", In("state"), "state/", &CoreFileManager::DirGetLogDir},
      {"XDG_DATA_HOME", "", ".local/share/", &CoreFileManager::DirGetAppData},
      {"XDG_DATA_HOME", In("data"), "data/", &CoreFileManager::DirGetAppData}};
  for (const auto& [variable, value, expected, find] : rows) {
    const ScopedVariable base(variable, value);
    EXPECT_EQ("true, nothing", Outcome((manager.*find)(result)));
    EXPECT_EQ(In(expected + program), Text(result));
    EXPECT_TRUE(fs::is_directory(Text(result)));
  }
}

TEST_F(HostTest, FindsResourcesInTheFirstDataDirectoryThatHasThem) {
  const ScopedVariable list("XDG_DATA_DIRS", "relative:" + In("none") + "::" + In("b") + ":" + In("a"));
  result = Path("before");
  EXPECT_EQ("false, nothing", Outcome(manager.DirGetAppResourceDir(result)));
  EXPECT_EQ("before", Text(result));
  fs::create_directories(In("a/" + program));
  fs::create_directory(In("b"));
  WriteFile(In("b/" + program), "a file is no directory of resources");
  EXPECT_TRUE(manager.DirGetAppResourceDir(result));
  EXPECT_EQ(In("a/" + program), Text(result));
}

TEST_F(HostTest, KeepsThePrivatePlacePrivate) {
  const ScopedVariable temporary("TMPDIR", Root());
  const auto find = [&](const char* name) {
    return Outcome(manager.DirGetQuillPlayerSandboxSafeTempLocation(Path(name), result));
  };
  const std::string directory = In("quill-" + std::to_string(::geteuid()));
  EXPECT_EQ("true, nothing", find("some/where/name"));
  EXPECT_EQ(0700U, ModeOf(directory));
  for (const char* name : {"..", ".", "a/.."}) EXPECT_EQ("false, 3000 recorded", find(name)) << name;
  EXPECT_EQ("false, nothing", find(""));

  EXPECT_EQ(directory + "/name", Text(result));

  // Not private, or planted under any name that could be foreseen: another place is found.
  ASSERT_EQ(0, ::chmod(directory.c_str(), 0755));  // somebody may have looked into it
  ASSERT_EQ(0, ::mkdir(In("elsewhere").c_str(), 0700));
  WriteFile(directory + ".2", "");
  fs::create_directory_symlink("elsewhere", directory + ".3");
  EXPECT_EQ("true, nothing", find("other"));
  EXPECT_EQ(directory + ".4/other", Text(result));
  for (int time = 0; time < 2; ++time) {
    fs::permissions(fs::path(Text(result)).parent_path(), fs::perms::all);
    EXPECT_EQ("true, nothing", find("other"));
    EXPECT_TRUE(Text(result).starts_with(directory + '.')) << Text(result);
    EXPECT_EQ(0700U, ModeOf(fs::path(Text(result)).parent_path()));
  }
  EXPECT_TRUE(fs::is_empty(In("elsewhere")));
}

TEST_F(HostTest, CreatesTemporaryFilesForThisUserAlone) {
  const ScopedVariable temporary("TMPDIR", Root());
  const mode_t before = ::umask(0777);
  EXPECT_TRUE(manager.FileGetTempPath(result));
  ::umask(before);
  EXPECT_TRUE(Text(result).starts_with(In("QuillTmp.")) && ModeOf(Text(result)) == 0600) << Text(result);

  const ScopedVariable missing("TMPDIR", In("missing"));
  EXPECT_EQ("false, 3003 recorded", Outcome(manager.FileGetTempPath(result)));
  const ScopedVariable relative("TMPDIR", "relative");
  EXPECT_TRUE(manager.DirGetTemp(result) && Text(result) == "/tmp") << Text(result);
}

TEST_F(HostTest, MarksDownloadedFiles) {
  WriteFile(In("f"), "");
  if (::setxattr(In("f").c_str(), "user.test", "", 0, 0) != 0) GTEST_SKIP() << "no extended attributes here";
  const auto path = At("f");
  EXPECT_FALSE(manager.GetDownloadedStatus(path));
  EXPECT_TRUE(manager.MarkDownloadedFileAsUnsafeOrSafe(path, Path("https://a/b"), Path("https://a/"), true));
  char value[32] = {};
  EXPECT_EQ(11, ::getxattr(In("f").c_str(), "user.xdg.origin.url", value, sizeof value));
  EXPECT_STREQ("https://a/b", value);
  EXPECT_TRUE(manager.MarkDownloadedFileAsUnsafeOrSafe(path, {}, {}, true));  // of unknown origin
  EXPECT_TRUE(manager.GetDownloadedStatus(path));
  EXPECT_EQ(-1, ::getxattr(In("f").c_str(), "user.xdg.referrer.url", nullptr, 0));
  for (int time = 0; time < 2; ++time) EXPECT_TRUE(manager.MarkDownloadedFileAsUnsafeOrSafe(path, {}, {}, false));
  EXPECT_FALSE(manager.GetDownloadedStatus(path));
  EXPECT_EQ("true, nothing", Outcome(manager.ScanMediaFile(path)));
  EXPECT_EQ("false, 3003 recorded", Outcome(manager.ScanMediaFile(At("none"))));
  EXPECT_EQ("false, 3003 recorded", Outcome(manager.MarkDownloadedFileAsUnsafeOrSafe(At("none"), {}, {}, true)));
}

TEST_F(HostTest, ChangesNothingForWhatOnlyOtherSystemsHave) {
  WriteFile(In("f"), "");
  ASSERT_EQ(0, ::chmod(In("f").c_str(), 0640));
  EXPECT_TRUE(manager.FileSetExecutable(At("f")));
  EXPECT_EQ(0640u, ModeOf(In("f")));
  const char* const native = "C:\\f";
  EXPECT_EQ(native, manager.GetNativePath(native));
  result = Path("before");
  EXPECT_FALSE(manager.RedirectedFilePath(At("f"), result));
  EXPECT_EQ("before", Text(result));
  manager.OverrideWriteableAreaSecurity({});
  EXPECT_FALSE(manager.IsProtectedModeIE());
  EXPECT_EQ(nullptr, manager.GetBrokerHandleWrapper(0, At("f")));
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(HostTest, SetsDatesToTheMicrosecond) {
  WriteFile(In("f"), "");
  double created = 0, modified = 0;
  for (const double wanted : {0.0, 1795393127388.245, 951782400000.001}) {
    EXPECT_TRUE(manager.FileSetModificationDate(At("f"), wanted) && manager.FileGetDates(At("f"), created, modified));
    EXPECT_NEAR(wanted, modified, 0.0005);
  }
  // Some file systems keep nothing before 1970 or 1901.
  EXPECT_TRUE(manager.FileSetModificationDate(At("f"), -1.5) && manager.FileSetModificationDate(At("f"), -62e12));
  for (const double refused : {HUGE_VAL, -HUGE_VAL, std::nan(""), 1e300}) {
    EXPECT_EQ("false, 3000 recorded", Outcome(manager.FileSetModificationDate(At("f"), refused)));
  }
}

TEST_F(HostTest, TakesAndGivesWritePermission) {
  WriteFile(In("f"), "");
  ASSERT_EQ(0, ::chmod(In("f").c_str(), 04766));
  EXPECT_TRUE(manager.FileSetReadOnly(At("f"), true) && ModeOf(In("f")) == 04544);
  EXPECT_TRUE(manager.FileSetReadOnly(At("f"), false) && ModeOf(In("f")) == 04744);
}

TEST_F(HostTest, KnowsWhatIsHidden) {
  fs::create_directory(In("d"));
  WriteFile(In("d/.hidden"), "listed\ncafe\xcc\x81\nlast");
  for (const char* name : {"d/.x", "d/listed", "d/listed/", "d/caf\xc3\xa9", "d/last", ".hidden"}) {
    EXPECT_TRUE(manager.FileIsHidden(At(name))) << name;
  }
  for (const char* name : {"d/list", "d/.", "d/..", "d"}) EXPECT_FALSE(manager.FileIsHidden(At(name))) << name;
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(HostTest, GivesCanonicalPathsComposed) {
  fs::create_directories(In("cafe\xcc\x81/d"));
  fs::create_symlink("cafe\xcc\x81/d", In("link"));
  EXPECT_TRUE(manager.FileGetCanonicalPath(At("link/../d/."), result));
  EXPECT_TRUE(Text(result).ends_with("/caf\xc3\xa9/d")) << Text(result);
  EXPECT_TRUE(manager.FileGetCanonicalPath(result, result));
}

TEST_F(HostTest, TellsEmptyDirectoriesAndReadOnlyVolumes) {
  bool isEmpty = false, isReadOnly = true;
  EXPECT_TRUE(manager.DirIsEmpty(Path(Root()), isEmpty) && isEmpty);
  WriteFile(In(".f"), "");
  EXPECT_TRUE(manager.DirIsEmpty(Path(Root()), isEmpty) && !isEmpty);
  EXPECT_TRUE(manager.VolumeIsReadOnly(Path(Root()), isReadOnly) && !isReadOnly);

  const Mount mount("tmpfs", Root(), "size=64k");
  if (!mount) GTEST_SKIP() << mount.WhyNot();
  ASSERT_EQ(0, ::mount("", Root().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr));
  EXPECT_TRUE(manager.VolumeIsReadOnly(Path(Root()), isReadOnly) && isReadOnly);
  EXPECT_EQ("false, 3008 recorded", Outcome(manager.FileSetReadOnly(Path(Root()), true)));
}

TEST_F(HostTest, NotesWhatFailedBesideItsCode) {
  fs::create_directories(In("tree/sub"));
  WriteFile(In("f"), "");
  fs::current_path(Root());
  const QuillFileString f = Path("f"), inFile = Path("f/x"), none = Path("none"), tree = Path("tree");
  bool answer = false;
  long long size = 0;
  double created = 0, modified = 0;
  EXPECT_STREQ("", manager.LastFailure().operation);
  EXPECT_EQ("nothing: FileGetSize none, ENOENT", Noted(manager.FileGetSize(none, size)));
  EXPECT_EQ("3003 recorded: FileGetDates f/x, ENOTDIR", Noted(manager.FileGetDates(inFile, created, modified)));
  EXPECT_EQ("3006 recorded: FileDelete tree, EPERM", Noted(manager.FileDelete(tree)));
  EXPECT_EQ("3011 recorded: FileRename tree f, EEXIST", Noted(manager.FileRename(f, tree)));
  EXPECT_EQ("3011 stored: FileCreateSymLink f none, EEXIST", Noted(manager.FileCreateSymLink(none, f)));
  EXPECT_EQ("3000 recorded: FileOrDirMove tree tree/sub/x, EINVAL",
            Noted(manager.FileOrDirMove(tree, Path("tree/sub/x"), false)));
  EXPECT_EQ("3007 recorded: DirIsEmpty f, ENOTDIR", Noted(manager.DirIsEmpty(f, answer)));
  EXPECT_EQ("3007 recorded: DirSetCurrent f, ENOTDIR", Noted(manager.DirSetCurrent(f)));
  EXPECT_EQ("3003 recorded: FileSetModificationDate none, ENOENT", Noted(manager.FileSetModificationDate(none, 0)));
  EXPECT_EQ("3003 stored: FileOrDirCopy f/x y, ENOTDIR", Noted(manager.FileOrDirCopy(inFile, Path("y"), false)));
  EXPECT_EQ("3003 stored: DirDeleteWithContents f/x, ENOTDIR", Noted(manager.DirDeleteWithContents(inFile)));
  EXPECT_EQ("3003 recorded: ScanMediaFile none, ENOENT", Noted(manager.ScanMediaFile(none)));
  EXPECT_EQ("3003 recorded: MarkDownloadedFileAsUnsafeOrSafe none, ENOENT",
            Noted(manager.MarkDownloadedFileAsUnsafeOrSafe(none, none, none, true)));
  FindFileInfo info;
  EXPECT_EQ("nothing: FindFirst none, ENOENT", Noted(manager.FindFirst(none, info) != nullptr));

  EXPECT_FALSE(manager.FileDelete(tree));
  errno = ERANGE;
  EXPECT_TRUE(manager.FileGetSize(f, size));
  EXPECT_EQ(ERANGE, errno);
  EXPECT_STREQ("FileDelete", manager.LastFailure().operation) << "a success changed the note";
  fs::current_path("/");
}

TEST_F(HostTest, NotesWhatRefusedAUser) {
  QuillFileString url;
  AsOrdinaryUser(Root(), [&] {
    fs::create_directory(In("closed"));
    fs::create_directory(In("gone"));
    WriteFile(In("closed/f"), "");
    WriteFile(In("f"), "");
    ASSERT_EQ(0, ::chdir(Root().c_str()) | ::chmod("closed", 0555));
    const QuillFileString f = Path("f"), taken = Path("closed/f"), x = Path("closed/x"), inside = Path("closed/f");
    EXPECT_EQ("3001 recorded: DirEnsure closed/x, EACCES", Noted(manager.DirEnsure(x)));
    EXPECT_EQ("3012 stored: FileOrDirCopy f closed/f, EACCES", Noted(manager.FileOrDirCopy(f, taken, true)));
    EXPECT_EQ("3012 stored: FileOrDirMove f closed/f, EEXIST", Noted(manager.FileOrDirMove(f, taken, false)));
    ASSERT_EQ(0, ::chmod("closed", 0));
    EXPECT_EQ("3003 stored: FileOrDirCopy closed/f x, EACCES", Noted(manager.FileOrDirCopy(inside, Path("x"), false)));
    ASSERT_EQ(0, ::chmod("closed", 0755) | ::chdir("gone") | ::rmdir("../gone"));
    EXPECT_EQ("nothing: DirGetCurrent (none), ENOENT", Noted(manager.DirGetCurrent(url)));
    EXPECT_EQ("nothing: FileGetPathUrlPreVeranda f, ENOENT", Noted(manager.FileGetPathUrlPreVeranda(f, url)));
  });
}

TEST_F(HostTest, NotesTheEntryAtWhichATreeFailed) {
  fs::create_directories(In("tree/sub"));
  const Mount mount("tmpfs", In("tree/sub"), "size=64k");
  if (!mount) GTEST_SKIP() << mount.WhyNot();
  EXPECT_EQ("false, 3013 recorded", Outcome(manager.DirDeleteWithContents(At("tree"))));
  EXPECT_EQ("sub", manager.LastFailure().entry);
  EXPECT_EQ(EBUSY, manager.LastFailure().posixError);
}

TEST_F(HostTest, SendsStandardErrorToAFile) {
  WriteFile(In("log"), "before ");
  const auto write = [this](bool truncate) {
    const bool isOpen = manager.FileReopenStderr(At("log"), truncate);
    std::fputs("x", stderr);  // written when the next one closes it
    const bool isRefused = !manager.FileReopenStderr(At("log/x"), truncate);
    std::_Exit(isOpen && isRefused && manager.LastFailure().posixError == ENOTDIR ? 0 : 1);
  };
  for (const auto& [truncate, expected] : {std::pair{false, "before x"}, {true, "x"}}) {
    EXPECT_EXIT(write(truncate), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(expected, Contents(In("log")));
  }
}

}  // namespace
}  // namespace quill_test
