// Listings, links, standard directories and URLs as the layer gives them.

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "platform/darwin/names/Normalization.h"
#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using NamesTest = ManagerTest;

TEST_F(NamesTest, ListingIsOneLevelDeepAndTellsDirectories) {
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

TEST_F(NamesTest, WhatHasNoEntriesHasNoListing) {
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

TEST_F(NamesTest, EntriesThatVanishAreFiles) {
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

TEST_F(NamesTest, LinksAreMadeReadAndResolvedOneStep) {
  const std::string longText(1023, 'x'), tooLong(1500, 'y');
  for (const std::string& text :
       {std::string("../x"), std::string("/abs/y"), std::string("e\xcc\x81"), longText, tooLong}) {
    if (text == tooLong && ::symlink(text.c_str(), In("probe").c_str()) != 0) {
      std::cout << "SKIPPED a link text of 1500 bytes: " << std::strerror(errno) << std::endl;
      continue;
    }
    QuillFileString target, path = At("link");
    EXPECT_TRUE(manager.FileCreateSymLink(Path(text), path) && manager.FileReadSymLink(path, target)) << text;
    EXPECT_EQ(text.substr(0, 1024), Text(target));
    EXPECT_TRUE(manager._PathCanonicalizeSymLink(path));
    EXPECT_EQ(text.starts_with('/') ? text : In(quill::darwin::FormC(text)), Text(path));
    ASSERT_TRUE(manager.FileDelete(At("link")));
  }
  WriteFile(In("file"), "x");
  QuillFileString file = At("file"), target = Path("untouched");
  EXPECT_EQ("false, nothing", Outcome(manager._PathCanonicalizeSymLink(file)));
  EXPECT_EQ(In("file"), Text(file));
  EXPECT_EQ("false, 3000 stored", Outcome(manager.FileReadSymLink(file, target)));
  EXPECT_EQ("false, 3003 stored", Outcome(manager.FileReadSymLink(At("missing"), target)));
  EXPECT_EQ("untouched", Text(target));
  EXPECT_EQ("false, 3011 stored", Outcome(manager.FileCreateSymLink(Path("x"), file)));
  EXPECT_EQ("false, 3003 stored", Outcome(manager.FileCreateSymLink(Path("x"), At("missing/link"))));
}

TEST_F(NamesTest, StandardDirectoriesComeComposed) {
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

using Conversion = bool (CoreFileManager::*)(const QuillFileString&, QuillFileString&);
constexpr Conversion kUrl = &CoreFileManager::FileGetPathUrl, kPath = &CoreFileManager::FileGetUrlPath,
                     kEarlierUrl = &CoreFileManager::FileGetPathUrlPreVeranda,
                     kEarlierPath = &CoreFileManager::FileGetUrlPathPreVeranda;

TEST_F(NamesTest, PathsAndUrlsConvertAsTheExamplesSay) {
  fs::create_directory(In("dir"));
  fs::current_path(Root());
  const ScopedVariable home("HOME", "/home/me");
  const std::string refused = "refused";
  const std::tuple<Conversion, std::string, std::string> rows[] = {
      {kUrl, "/tmp/a b?100%", "file:///tmp/a%20b%3F100%25"},
      {kUrl, "/tmp/a:b;c\xc3\xa9", "file:///tmp/a%3Ab%3Bc%C3%A9"},
      {kUrl, "docs/a.txt", "file://docs/a.txt"},
      {kUrl, "~/x", "file:///home/me/x"},
      {kUrl, "/a\x01", "(none)"},
      {kPath, "file:///tmp/x?y#%3Fz", "/tmp/x?y#?z"},
      {kPath, "file:///tmp/%C3", refused},
      {kPath, "file://localhost/tmp/a", "/tmp/a"},
      {kPath, "file:///tmp/dir/", "/tmp/dir"},
      {kPath, "/tmp/a%20b", "/tmp/a b"},
      {kPath, "file:/tmp/x", "file:/tmp/x"},
      {kPath, "file:///tmp/a%2520b", "/tmp/a%20b"},
      {kPath, "file:///a%3A//b", "/a://b"},
      {kPath, "file:///", "/"},
      {kEarlierUrl, In("dir/"), "file://" + In("dir")},
      {kEarlierUrl, In("no dir//"), "file://" + In("no%20dir/")},
      {kEarlierUrl, "/", "file:///"},
      {kEarlierUrl, "a.txt", "file://" + In("a.txt")},
      {kEarlierPath, "file:///tmp/a%20x?y#b", "/tmp/a x?y#b"},
      {kEarlierPath, "file:///tmp/100%", refused},
  };
  for (const auto& [conversion, given, wanted] : rows) {
    QuillFileString result = Path("refused");
    EXPECT_EQ(wanted == refused ? "false, nothing" : "true, nothing",
              Outcome((manager.*conversion)(Path(given), result)))
        << given;
    EXPECT_EQ(wanted, Text(result)) << given;
  }
  fs::current_path("/");
}

}  // namespace
}  // namespace quill_test
