// Copying and moving as the layer does them: which code, who sees it, which operations are asked through the table.
// What happens to the trees themselves is tested where the walks are.

#include <unistd.h>

#include <filesystem>
#include <map>
#include <vector>

#include "tests/osx/ChangedTree.h"
#include "tests/support/Snapshot.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using CopyMoveTest = ChangedTreeTest;

TEST_F(CopyMoveTest, CopyAndMoveFollowTheSameSteps) {
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

TEST_F(CopyMoveTest, ADestinationThatIsHoldsOrIsHeldByTheSourceIsRefused) {
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

TEST_F(CopyMoveTest, ADestinationThatIsALinkToTheSourceIsClearedAsALink) {
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

TEST_F(CopyMoveTest, ClearingIsSafeAndAllowedBelowADirectoryThatIsShut) {
  quill_test::AsOrdinaryUser(Root(), [this] {
    for (const char* made : {"shut/here/d/in", "shut/here/e"}) fs::create_directories(In(made));
    fs::current_path(In("shut/here"));
    fs::permissions(In("shut"), fs::perms::none);
    EXPECT_EQ("false, 3012 stored", Outcome(manager.FileOrDirCopy(Path("d/in"), Path("d"), true)));
    EXPECT_EQ("true, nothing", Outcome(manager.FileOrDirCopy(Path("d"), Path("e"), true)));
    fs::permissions(In("shut"), fs::perms::owner_all);
    fs::current_path("/");
  });
}

TEST_F(CopyMoveTest, ClearingGoesThroughTheTableAndSaysSoWhenItFails) {
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

}  // namespace
}  // namespace quill_test
