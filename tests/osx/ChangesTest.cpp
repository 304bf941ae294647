// Deleting, renaming, ensuring, copying, moving and temporary items as the layer does them: which code, who sees it,
// which operations are asked through the table. What happens to the trees themselves is tested where the walks are.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "tests/support/Fixture.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

class ChangesTest : public DirectoryTest {
 protected:
  void SetUp() override {
    DirectoryTest::SetUp();
    WriteFile(In("file"), "contents");
    MakeDirectory("empty");
    MakeDirectory("full");
    WriteFile(In("full/inside"), "x");
    ASSERT_EQ(0, ::symlink("full", In("link").c_str()));
    ASSERT_EQ(0, ::symlink("nothing", In("dangling").c_str()));
  }

  void MakeDirectory(const std::string& name) { ASSERT_EQ(0, ::mkdir(In(name).c_str(), 0755)) << name; }
  bool There(const std::string& name) const {
    return ::faccessat(AT_FDCWD, In(name).c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
  }
  struct stat StatusOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(0, ::lstat(In(name).c_str(), &status)) << name;
    return status;
  }
  std::string Outcome(bool succeeded) { return (succeeded ? "true, " : "false, ") + manager.Reason(); }

  RecordingManager manager;
};

TEST_F(ChangesTest, DeletionRefusesWithTheReason) {
  MakeDirectory("\xc3\xa9");
  WriteFile(In("\xc3\xa9/inside"), "x");
  WriteFile(In("\xc3\xa9"
               "file"),
            "x");
  const struct {
    const char* name;
    std::string file, directory;
    bool remains;
  } rows[] = {
      {"empty", "false, 3006 recorded", "true, nothing", false},
      {"full", "false, 3006 recorded", "false, 3010 recorded", true},
      {"missing", "false, 3003 recorded", "false, 3003 recorded", false},
      {"file/x", "false, 3007 recorded", "false, 3007 recorded", false},
      {"\xc3\xa9", "false, 3006 recorded", "false, 3010 recorded", true},
      {"\xc3\xa8", "false, 3003 recorded", "false, 3003 recorded", false},
  };
  for (const auto& [name, file, directory, remains] : rows) {
    EXPECT_EQ(file, Outcome(manager.FileDelete(Path(In(name))))) << name;
    EXPECT_EQ(directory, Outcome(manager.DirDelete(Path(In(name))))) << name;
    EXPECT_EQ(remains, There(name)) << name;
  }
  EXPECT_EQ("false, 3007 recorded", Outcome(manager.DirDelete(Path(In("file")))));
  EXPECT_EQ("true, nothing", Outcome(manager.DirDelete(Path(In("\xc3\xa9"
                                                               "file")))));
  EXPECT_EQ("true, nothing", Outcome(manager.DirDelete(Path(In("link")))));
  EXPECT_TRUE(There("full/inside"));
  EXPECT_EQ("false, 3003 stored", Outcome(manager.DirDeleteWithContents(Path(In("missing")))));
  EXPECT_EQ("true, nothing", Outcome(manager.DirDeleteWithContents(Path(In("full")))));
  EXPECT_EQ("true, nothing", Outcome(manager.DirDeleteWithContents(Path(In("file")))));
  EXPECT_EQ("false, nothing", Outcome(manager.DirDeleteWithContents(QuillFileString())));
  EXPECT_EQ("false, nothing", Outcome(manager.DirDelete(QuillFileString())));
  EXPECT_EQ("false, 2038 recorded", Outcome(manager.FileDelete(QuillFileString())));
}

TEST_F(ChangesTest, RenameKeepsTheDirectoryOfABareName) {
  EXPECT_EQ("true, nothing", Outcome(manager.FileRename(Path("renamed"), Path(In("file")))));
  EXPECT_EQ("contents", Contents(In("renamed")));
  EXPECT_EQ("true, nothing", Outcome(manager.FileRename(Path(In("empty/there")), Path(In("renamed")))));
  EXPECT_EQ("contents", Contents(In("empty/there")));
  EXPECT_EQ("false, 3011 recorded", Outcome(manager.FileRename(Path("full"), Path(In("empty")))));
  EXPECT_EQ("false, 3003 recorded", Outcome(manager.FileRename(Path("x"), Path(In("missing")))));
  EXPECT_EQ("false, nothing", Outcome(manager.FileRename(Path(""), Path(In("empty")))));
  EXPECT_EQ("false, nothing", Outcome(manager.FileRename(Path("x"), QuillFileString())));
}

TEST_F(ChangesTest, EnsureCreatesWhatIsMissingAsTheParentIs) {
  ASSERT_EQ(0, ::chmod(In("empty").c_str(), 02750));
  if (::geteuid() == 0) {
    ASSERT_EQ(0, ::chown(In("empty").c_str(), 12, 34));
    ASSERT_EQ(0, ::chmod(In("empty").c_str(), 02750));
  }
  EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(Path(In("empty/a/b/../c/")))));
  for (const char* name : {"empty/a", "empty/a/b", "empty/a/c"}) {
    EXPECT_EQ(StatusOf("empty").st_mode, StatusOf(name).st_mode) << name;
    EXPECT_EQ(StatusOf("empty").st_uid, StatusOf(name).st_uid) << name;
    EXPECT_EQ(StatusOf("empty").st_gid, StatusOf(name).st_gid) << name;
  }
  EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(Path(In("link/below")))));
  EXPECT_TRUE(There("full/below"));
  EXPECT_EQ("false, nothing", Outcome(manager.DirEnsure(Path(In("file")))));
  EXPECT_EQ("false, nothing", Outcome(manager.DirEnsure(Path(In("file/below")))));
  EXPECT_EQ("false, 3011 recorded", Outcome(manager.DirEnsure(Path(In("dangling/below")))));
  EXPECT_EQ("false, nothing", Outcome(manager.DirEnsure(Path(""))));
  EXPECT_EQ("false, 3000 recorded", Outcome(manager.DirEnsure(Path(In("new/" + std::string(300, 'x'))))));
  EXPECT_TRUE(There("new"));
}

TEST_F(ChangesTest, EnsureIsForManyAtOnce) {
  const auto ensure = [this] {
    for (int chain = 0; chain < 200; ++chain) {
      RecordingManager own;
      EXPECT_TRUE(own.DirEnsure(Path(In("chain" + std::to_string(chain) + "/a/b/c/d")))) << own.Reason();
    }
  };
  std::thread one(ensure), other(ensure);
  one.join();
  other.join();
}

TEST_F(ChangesTest, CopyAndMoveFollowTheSameSteps) {
  using Operation = bool (CoreFileManager::*)(const QuillFileString&, const QuillFileString&, bool);
  for (const Operation operation : {&CoreFileManager::FileOrDirCopy, &CoreFileManager::FileOrDirMove}) {
    const bool moves = operation == Operation(&CoreFileManager::FileOrDirMove);
    const auto run = [&](const std::string& from, const std::string& to, bool clobber) {
      return Outcome((manager.*operation)(Path(In(from)), Path(In(to)), clobber));
    };
    WriteFile(In("source"), "source");
    EXPECT_EQ("false, 3003 stored", run("missing", "file", true));
    EXPECT_EQ("false, 3012 stored", run("source", "file", false));
    EXPECT_EQ("contents", Contents(In("file")));
    EXPECT_EQ("true, nothing", run("source", "full", true));
    EXPECT_EQ("source", Contents(In("full")));
    EXPECT_EQ(!moves, There("source"));
    WriteFile(In("source"), "source");
    EXPECT_EQ("true, nothing", run("source", "deep/er/copy", false));
    EXPECT_EQ("source", Contents(In("deep/er/copy")));
    WriteFile(In("source"), "source");
    EXPECT_EQ("false, 3011 recorded", run("source", "dangling", true));
    EXPECT_EQ("source", Contents(In("source")));
    EXPECT_EQ("false, nothing", Outcome((manager.*operation)(QuillFileString(), Path(In("x")), true)));

    ASSERT_TRUE(manager.DirDeleteWithContents(Path(In("deep"))) && manager.FileDelete(Path(In("full"))));
    MakeDirectory("full");
    WriteFile(In("full/inside"), "x");
  }
}

TEST_F(ChangesTest, ADestinationThatIsHoldsOrIsHeldByTheSourceIsRefused) {
  MakeDirectory("full/sub");
  WriteFile(In("full/sub/source"), "precious");
  ASSERT_EQ(0, ::link(In("full/sub/source").c_str(), In("hard link").c_str()));
  ASSERT_EQ(0, ::symlink("full/sub/source", In("soft link").c_str()));
  WriteFile(In("full/sub/\xc3\xa9"), "precious");
  const std::pair<std::string, std::string> rows[] = {
      {"full/sub/source", "full/sub/source"},
      {"full/sub/source", "full/sub/./source"},
      {"full/sub/source", "full"},
      {"full/sub/source", "link"},
      {"link/sub/source", "full"},
      {"full/sub/source", "full/../full/sub"},
      {"full/sub/source", "hard link"},
      {"soft link", "full/sub/source"},
      {"full/sub/\xc3\xa9", "full/sub/e\xcc\x81"},
      {"full/sub", "full/sub/.."},
      {"full", "."},
      {"full", "full/sub"},
      {"full/.", "link/sub/source"},
  };
  for (const auto& [source, destination] : rows) {
    for (const bool clobber : {true, false}) {
      EXPECT_EQ("false, 3012 stored", Outcome(manager.FileOrDirCopy(Path(In(source)), Path(In(destination)), clobber)))
          << source << " to " << destination;
      EXPECT_EQ("false, 3012 stored", Outcome(manager.FileOrDirMove(Path(In(source)), Path(In(destination)), clobber)))
          << source << " to " << destination;
    }
  }
  EXPECT_EQ("false, 3000 recorded", Outcome(manager.FileOrDirCopy(Path(In("full")), Path(In("link/sub/new")), false)));
  EXPECT_EQ("false, 3000 recorded", Outcome(manager.FileOrDirMove(Path(In("full")), Path(In("full/sub/new")), false)));
  EXPECT_EQ("precious", Contents(In("full/sub/source")));
  EXPECT_TRUE(manager.FileOrDirCopy(Path(In("link")), Path(In("full/sub/source")), true)) << "a link holds nothing";
}

TEST_F(ChangesTest, ClearingGoesThroughTheTableAndSaysSoWhenItFails) {
  struct Keeping : RecordingManager {
    bool FileDelete(const QuillFileString&) override {
      SetLastError(1);
      return true;
    }
  } keeping;
  WriteFile(In("source"), "x");
  EXPECT_FALSE(keeping.FileOrDirCopy(Path(In("source")), Path(In("file")), true));
  EXPECT_EQ(std::vector<int>{1}, keeping.observed);
  EXPECT_EQ("3012 stored", keeping.Reason());
  EXPECT_EQ("contents", Contents(In("file")));
}

TEST_F(ChangesTest, TemporaryItemsAreNewEmptyAndNamedByTheTemplate) {
  struct InRoot : RecordingManager {
    bool DirGetTemp(QuillFileString& directory) override {
      directory.setUTF8(place.c_str());
      return !place.empty();
    }
    std::string place;
  } host;
  host.place = Root();
  const mode_t before = ::umask(0777);
  QuillFileString first, second, directory;
  EXPECT_TRUE(host.FileCreateTemp(first) && host.FileCreateTempInDir(Path(Root()), second) &&
              host.DirCreateTemp(directory));
  ::umask(before);
  EXPECT_NE(Text(first), Text(second));
  for (const auto& [path, mode] :
       {std::pair{Text(first), mode_t{S_IFREG | 0644}}, std::pair{Text(directory), mode_t{S_IFDIR | 0755}}}) {
    EXPECT_EQ(0u, path.find(In("QuillTmp."))) << path;
    EXPECT_EQ(In("QuillTmp.XXXXXX").size(), path.size());
    struct stat status {};
    ASSERT_EQ(0, ::stat(path.c_str(), &status));
    EXPECT_EQ(mode, status.st_mode);
  }
  EXPECT_EQ("", Contents(Text(first)));
  EXPECT_EQ("nothing", host.Reason());

  QuillFileString result = Path("untouched");
  EXPECT_FALSE(host.DirCreateTempInDir(Path(In("missing")), result));
  EXPECT_EQ("2038 recorded", host.Reason());
  EXPECT_FALSE(There("missing"));
  EXPECT_TRUE(host.FileCreateTempInDir(Path(In("made/for it")), first));
  EXPECT_FALSE(host.FileCreateTempInDir(Path(""), result) || host.DirCreateTempInDir(QuillFileString(), result));
  host.place.clear();
  EXPECT_FALSE(host.FileCreateTemp(result) || host.DirCreateTemp(result));
  EXPECT_EQ("nothing", host.Reason());
  EXPECT_EQ("untouched", Text(result));
}

}  // namespace
}  // namespace quill_test
