// Deleting, renaming, ensuring, copying, moving and temporary items as the layer does them: which code, who sees it,
// which operations are asked through the table. What happens to the trees themselves is tested where the walks are.

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <thread>
#include <vector>

#include "tests/support/RecordingManager.h"
#include "tests/support/Snapshot.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

class ChangesTest : public ManagerTest {
 protected:
  void SetUp() override {
    ManagerTest::SetUp();
    WriteFile(In("file"), "contents");
    fs::create_directory(In("empty"));
    fs::create_directories(In("full/sub"));
    WriteFile(In("full/inside"), "x");
    fs::create_symlink("full", In("link"));
    fs::create_symlink("nothing", In("dangling"));
  }

  bool There(const std::string& name) const { return fs::exists(fs::symlink_status(In(name))); }
};

TEST_F(ChangesTest, DeletionRefusesWithTheReason) {
  const std::string accented = "\xc3\xa9";  // a name outside ASCII goes another way
  fs::create_directories(In(accented + "/inside"));
  WriteFile(In(accented + "file"), "x");
  const std::tuple<std::string, std::string, std::string, bool> rows[] = {
      {"empty", "false, 3006 recorded", "true, nothing", false},
      {"full", "false, 3006 recorded", "false, 3010 recorded", true},
      {"missing", "false, 3003 recorded", "false, 3003 recorded", false},
      {"file/x", "false, 3007 recorded", "false, 3007 recorded", false},
      {accented, "false, 3006 recorded", "false, 3010 recorded", true},
      {"\xc3\xa8", "false, 3003 recorded", "false, 3003 recorded", false}};
  for (const auto& [name, file, directory, remains] : rows) {
    EXPECT_EQ(file, Outcome(manager.FileDelete(At(name)))) << name;
    EXPECT_EQ(directory, Outcome(manager.DirDelete(At(name)))) << name;
    EXPECT_EQ(remains, There(name)) << name;
  }
  EXPECT_EQ("false, 3007 recorded", Outcome(manager.DirDelete(At("file"))));
  EXPECT_EQ("true, nothing", Outcome(manager.DirDelete(At(accented + "file"))));
  EXPECT_EQ("true, nothing", Outcome(manager.DirDelete(At("link"))));
  EXPECT_TRUE(There("full/inside"));
  EXPECT_EQ("false, 3003 stored", Outcome(manager.DirDeleteWithContents(At("missing"))));
  for (const char* name : {"full", "file"}) {
    EXPECT_EQ("true, nothing", Outcome(manager.DirDeleteWithContents(At(name))));
    EXPECT_FALSE(There(name));
  }
}

TEST_F(ChangesTest, RenameKeepsTheDirectoryOfABareName) {
  EXPECT_EQ("true, nothing", Outcome(manager.FileRename(Path("renamed"), At("file"))));
  EXPECT_EQ("true, nothing", Outcome(manager.FileRename(At("empty/there"), At("renamed"))));
  EXPECT_EQ("contents", Contents(In("empty/there")));
  EXPECT_EQ("false, 3011 recorded", Outcome(manager.FileRename(Path("full"), At("empty"))));
  EXPECT_EQ("false, 3003 recorded", Outcome(manager.FileRename(Path("x"), At("missing"))));
}

TEST_F(ChangesTest, EnsureCreatesWhatIsMissingAsTheParentIs) {
  EXPECT_EQ(::geteuid() == 0, ::chown(In("empty").c_str(), 12, 34) == 0);
  ASSERT_EQ(0, ::chmod(In("empty").c_str(), 02750));
  EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(At("empty/a/b/../c/"))));
  const auto ownership = [this](const char* name) {
    struct stat status {};
    EXPECT_EQ(0, ::stat(In(name).c_str(), &status)) << name;
    return std::tuple(status.st_mode, status.st_uid, status.st_gid);
  };
  for (const char* name : {"empty/a", "empty/a/b", "empty/a/c"}) EXPECT_EQ(ownership("empty"), ownership(name)) << name;
  EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(At("link/below"))));
  EXPECT_TRUE(There("full/below"));
  EXPECT_EQ("false, nothing", Outcome(manager.DirEnsure(At("file"))));
  EXPECT_EQ("false, nothing", Outcome(manager.DirEnsure(At("file/below"))));
  EXPECT_EQ("false, 3011 recorded", Outcome(manager.DirEnsure(At("dangling/below"))));
  EXPECT_EQ("false, 3000 recorded", Outcome(manager.DirEnsure(At("new/" + std::string(300, 'x')))));
  EXPECT_TRUE(There("new"));
}

TEST_F(ChangesTest, EnsureHandsDownWhatItMayWhenTheRestIsRefused) {
  // What an ordinary user makes in it starts out in another group than the user's own.
  EXPECT_EQ(::geteuid() == 0, ::chown(In("empty").c_str(), 0, 12345) == 0);
  ASSERT_EQ(0, ::chmod(In("empty").c_str(), 01777));
  quill_test::AsOrdinaryUser(Root(), [this] {
    const ::mode_t before = ::umask(0777);
    EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(At("empty/a/b"))));
    ::umask(before);
    for (const char* name : {"empty/a", "empty/a/b"})
      EXPECT_EQ(fs::perms(01777), fs::status(In(name)).permissions()) << name;
  });
}

TEST_F(ChangesTest, ManagersOfTwoThreadsShareNothing) {
  const auto work = [this](const std::string& own) {
    RecordingManager host;
    for (int chain = 0; chain < 100; ++chain) {
      const std::string ensured = "chain" + std::to_string(chain), copy = ensured + own;
      EXPECT_TRUE(host.DirEnsure(At(ensured + "/a/b/c/d"))) << host.Reason();
      EXPECT_TRUE(host.FileOrDirCopy(At("full"), At(copy), false) && host.DirDeleteWithContents(At(copy)));
    }
  };
  std::thread one(work, "one"), other(work, "other");
  one.join();
  other.join();
}

TEST_F(ChangesTest, CopyAndMoveFollowTheSameSteps) {
  using Operation = bool (CoreFileManager::*)(const QuillFileString&, const QuillFileString&, bool);
  for (const Operation operation : {&CoreFileManager::FileOrDirCopy, &CoreFileManager::FileOrDirMove}) {
    const auto run = [&](const char* from, const char* to, bool clobber) {
      WriteFile(In("source"), "source");
      return Outcome((manager.*operation)(At(from), At(to), clobber));
    };
    fs::create_directories(In("occupied/inside"));
    EXPECT_EQ("false, 3003 stored", run("missing", "file", true));
    EXPECT_EQ("false, 3012 stored", run("source", "file", false));
    EXPECT_EQ("contents", Contents(In("file")));
    EXPECT_EQ("false, 3011 recorded", run("source", "dangling", true));
    EXPECT_EQ("source", Contents(In("source")));
    for (const char* destination : {"occupied", "deep/er/new"}) {
      EXPECT_EQ("true, nothing", run("source", destination, true));
      EXPECT_EQ("source", Contents(In(destination)));
      EXPECT_EQ(operation == Operation(&CoreFileManager::FileOrDirCopy), There("source"));
      fs::remove_all(In(destination));
    }
    fs::remove(In("deep/er"));
  }
}

TEST_F(ChangesTest, ADestinationThatIsHoldsOrIsHeldByTheSourceIsRefused) {
  WriteFile(In("full/sub/source"), "precious");
  fs::create_hard_link(In("full/sub/source"), In("hard link"));
  fs::create_symlink("full/sub/source", In("soft link"));
  fs::create_symlink("link/.", In("to link"));
  WriteFile(In("full/sub/\xc3\xa9"), "precious");
  const std::map<std::string, std::vector<std::string>> destinationsBySource = {
      {"full/sub/source", {"full/sub/./source", "full", "full/../full/sub", "hard link"}},
      {"link/sub/source", {"full", "link"}},
      {"to link/sub/source", {"link"}},
      {"soft link", {"full/sub/source"}},
      {"full/sub/\xc3\xa9", {"full/sub/e\xcc\x81"}},
      {"full/sub", {"full/sub/.."}},
      {"full", {".", "full/sub"}},
      {"full/.", {"link/sub/source"}}};
  for (const auto& [from, destinations] : destinationsBySource) {
    for (const auto& to : destinations) {
      for (const bool clobber : {true, false}) {
        EXPECT_EQ("false, 3012 stored", Outcome(manager.FileOrDirCopy(At(from), At(to), clobber))) << from << " " << to;
        EXPECT_EQ("false, 3012 stored", Outcome(manager.FileOrDirMove(At(from), At(to), clobber))) << from << " " << to;
      }
    }
  }
  EXPECT_EQ("false, 3000 recorded", Outcome(manager.FileOrDirCopy(At("full"), At("link/sub/new"), false)));
  EXPECT_EQ("false, 3000 recorded", Outcome(manager.FileOrDirMove(At("full"), At("full/sub/new"), false)));
  EXPECT_EQ("precious", Contents(In("full/sub/source")));
  EXPECT_TRUE(manager.FileOrDirCopy(At("link"), At("full/sub/source"), true)) << "a link holds nothing";
}

TEST_F(ChangesTest, ADestinationThatIsALinkToTheSourceIsClearedAsALink) {
  WriteFile(In("s"), "source");
  for (const auto& [from, to] : {std::pair{"s", "to s"}, {"full", "to full"}}) {
    for (const auto operation : {&CoreFileManager::FileOrDirCopy, &CoreFileManager::FileOrDirMove}) {
      fs::create_symlink(from, In(to));
      const auto source = quill_test::Describe(In(from));
      EXPECT_EQ("true, nothing", Outcome((manager.*operation)(At(from), At(to), true))) << from;
      EXPECT_EQ("", quill_test::Difference(source, quill_test::Describe(In(to)), quill_test::Scope::kSubstance));
      if (There(from)) fs::remove_all(In(to));
    }
  }
}

TEST_F(ChangesTest, ClearingIsSafeAndAllowedBelowADirectoryThatIsShut) {
  quill_test::AsOrdinaryUser(Root(), [this] {
    for (const char* made : {"shut/here/d/in", "shut/here/e"}) fs::create_directories(In(made));
    const fs::path before = fs::current_path();
    fs::current_path(In("shut/here"));
    fs::permissions(In("shut"), fs::perms::none);
    EXPECT_EQ("false, 3012 stored", Outcome(manager.FileOrDirCopy(Path("d/in"), Path("d"), true)));
    EXPECT_EQ("true, nothing", Outcome(manager.FileOrDirCopy(Path("d"), Path("e"), true)));
    fs::permissions(In("shut"), fs::perms::owner_all);
    fs::current_path(before);
  });
}

TEST_F(ChangesTest, ClearingGoesThroughTheTableAndSaysSoWhenItFails) {
  struct Keeping : RecordingManager {
    bool FileDelete(const QuillFileString&) override {
      SetLastError(1);
      return true;
    }
  } keeping;
  EXPECT_FALSE(keeping.FileOrDirCopy(At("full"), At("file"), true));
  EXPECT_EQ(std::vector<int>{1}, keeping.observed);
  EXPECT_EQ("3012 stored", keeping.Reason());
  EXPECT_EQ("contents", Contents(In("file")));
}

TEST_F(ChangesTest, TemporaryItemsAreNamedByTheTemplateWhereTheTableSays) {
  struct InPlace : RecordingManager {
    bool DirGetTemp(QuillFileString& directory) override {
      directory.setUTF8(place.c_str());
      return !place.empty();
    }
    std::string place;
  } host;
  QuillFileString result = Path("untouched");
  EXPECT_FALSE(host.FileCreateTemp(result) || host.DirCreateTemp(result));
  EXPECT_EQ("nothing", host.Reason());
  EXPECT_FALSE(host.DirCreateTempInDir(At("missing"), result));
  EXPECT_EQ("2038 recorded", host.Reason());
  EXPECT_EQ("untouched", Text(result));

  host.place = Root();
  for (const auto make : {&CoreFileManager::FileCreateTemp, &CoreFileManager::DirCreateTemp}) {
    EXPECT_TRUE((host.*make)(result));
    EXPECT_TRUE(Text(result).starts_with(In("QuillTmp.")) && fs::is_empty(Text(result))) << Text(result);
    EXPECT_EQ(In("QuillTmp.XXXXXX").size(), Text(result).size());
  }
  EXPECT_TRUE(host.FileCreateTempInDir(At("made/for it"), result));
  EXPECT_EQ("nothing", host.Reason());

  for (const mode_t mask : {0000, 0022, 0077, 0777}) {
    const mode_t before = ::umask(mask);
    EXPECT_TRUE(host.FileCreateTemp(result));
    EXPECT_EQ(0644U, ModeOf(Text(result))) << std::oct << mask;
    EXPECT_TRUE(host.DirCreateTemp(result));
    EXPECT_EQ(0755U, ModeOf(Text(result))) << std::oct << mask;
    ::umask(before);
  }
}

}  // namespace
}  // namespace quill_test
