// Standard directories as the layer gives them.

#include <filesystem>
#include <iostream>

#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using StandardPathsTest = ManagerTest;

TEST_F(StandardPathsTest, StandardDirectoriesComeComposed) {
  fs::create_directory(In("e\xcc\x81"));
  const ScopedVariable variable("HOME", In("e\xcc\x81"));
  for (const char* current : {"/", "e\xcc\x81"}) {  // the home directory stands for the root
    fs::current_path(fs::path(Root()) / current);
    for (const auto find :
         {&CoreFileManager::DirGetUserHomePath, &CoreFileManager::DirGetUser, &CoreFileManager::DirGetCurrent}) {
      QuillFileString directory;
      EXPECT_EQ("true, nothing", Outcome((manager.*find)(directory)));
      EXPECT_EQ(In("\xc3\xa9"), Text(directory));
    }
  }
  fs::remove(In("e\xcc\x81"));
  QuillFileString current = Path("untouched");
  EXPECT_EQ("false, nothing", Outcome(manager.DirGetCurrent(current)));
  EXPECT_EQ("untouched", Text(current));
  fs::current_path("/");
}

TEST_F(StandardPathsTest, UserDirectoriesAreThoseOfTheDesktop) {
  const ScopedVariable home("HOME", Root()), configuration("XDG_CONFIG_HOME", In("config")),
      cache("XDG_CACHE_HOME", std::nullopt);
  fs::create_directory(In("config"));
  WriteFile(In("config/user-dirs.dirs"), "XDG_DOCUMENTS_DIR=\"$HOME/papers\"\nXDG_DOWNLOAD_DIR=\"/downloads\"\n");
  const std::pair<bool (CoreFileManager::*)(QuillFileString&), std::string> rows[] = {
      {&CoreFileManager::DirGetDocuments, In("papers")},
      {&CoreFileManager::DirGetDownloads, "/downloads"},
      {&CoreFileManager::DirGetDesktop, In("Desktop")},
      {&CoreFileManager::DirGetCache, In(".cache")},
  };
  for (const auto& [find, expected] : rows) {
    QuillFileString directory;
    EXPECT_EQ("true, nothing", Outcome((manager.*find)(directory)));
    EXPECT_EQ(expected, Text(directory));
  }
}

}  // namespace
}  // namespace quill_test
