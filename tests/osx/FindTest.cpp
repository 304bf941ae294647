// Listings as the layer gives them.

#include <filesystem>
#include <map>

#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using FindTest = ManagerTest;

TEST_F(FindTest, ListingIsOneLevelDeepAndTellsDirectories) {
  fs::create_directory(In("directory"));
  for (const char* name : {"directory/inside", "plain", ".hidden", "e\xcc\x81", "\xff not UTF-8", "new\nline"}) {
    WriteFile(In(name), "x");
  }
  fs::create_symlink("directory", In("to directory"));
  fs::create_symlink("nothing", In("dangling"));
  const std::multimap<std::string, int> expected = {{"directory", 1},    {"plain", 0},          {".hidden", 0},
                                                    {"\xc3\xa9", 0},     {"\xff not UTF-8", 0}, {"new\nline", 0},
                                                    {"to directory", 1}, {"dangling", 0}};
  EXPECT_EQ(expected, List(manager, Path(Root())));
}

TEST_F(FindTest, WhatHasNoEntriesHasNoListing) {
  fs::create_directory(In("empty"));
  WriteFile(In("plain"), "x");
  FindFileInfo info;
  info.path = Path("untouched");
  for (const char* name : {"empty", "plain", "missing"}) EXPECT_FALSE(manager.FindFirst(At(name), info)) << name;
  EXPECT_EQ("untouched", Text(info.path));

  QuillFileFindRef* const volumes = manager.FindFirstRoot(info);
  EXPECT_EQ("/", Text(info.path));
  EXPECT_EQ(kQuillFileTypeDirectory, info.type);
  EXPECT_FALSE(manager.FindNext(volumes, info));
  EXPECT_TRUE(manager.FindClose(volumes) && manager.FindClose(nullptr));
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(FindTest, EntriesThatVanishAreFiles) {
  for (int i = 0; i < 20; ++i) fs::create_directory(In(std::to_string(i)));
  FindFileInfo info;
  QuillFileFindRef* const handle = manager.FindFirst(Path(Root()), info);
  ASSERT_TRUE(handle);
  for (int i = 0; i < 20; ++i) fs::remove(In(std::to_string(i)));
  int delivered = 1;
  for (; manager.FindNext(handle, info); ++delivered) EXPECT_EQ(kQuillFileTypeFile, info.type);
  EXPECT_LE(delivered, 20);
  manager.FindClose(handle);
}

}  // namespace
}  // namespace quill_test
