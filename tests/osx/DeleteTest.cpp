// Deleting and renaming as the layer does them: which code, and who sees it.

#include <filesystem>

#include "tests/osx/ChangedTree.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using DeleteTest = ChangedTreeTest;

TEST_F(DeleteTest, DeletionRefusesWithTheReason) {
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

TEST_F(DeleteTest, RenameKeepsTheDirectoryOfABareName) {
  EXPECT_EQ("true, nothing", Outcome(manager.FileRename(Path("renamed"), At("file"))));
  EXPECT_EQ("true, nothing", Outcome(manager.FileRename(At("empty/there"), At("renamed"))));
  EXPECT_EQ("contents", Contents(In("empty/there")));
  EXPECT_EQ("false, 3011 recorded", Outcome(manager.FileRename(Path("full"), At("empty"))));
  EXPECT_EQ("false, 3003 recorded", Outcome(manager.FileRename(Path("x"), At("missing"))));
}

}  // namespace
}  // namespace quill_test
