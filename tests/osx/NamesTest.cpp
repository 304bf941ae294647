// Listings, links, standard directories and URLs as the layer gives them.

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <map>

#include "tests/support/Fixture.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

class NamesTest : public DirectoryTest {
 protected:
  std::map<std::string, int> List(const std::string& directory) {
    std::map<std::string, int> entries;
    FindFileInfo info;
    QuillFileFindRef* const handle = manager.FindFirst(Path(directory), info);
    if (!handle) return entries;
    do {
      EXPECT_TRUE(entries.emplace(Text(info.path), info.type).second) << "twice: " << Text(info.path);
    } while (manager.FindNext(handle, info));
    EXPECT_FALSE(manager.FindNext(handle, info));
    EXPECT_TRUE(manager.FindClose(handle));
    return entries;
  }

  RecordingManager manager;
};

TEST_F(NamesTest, ListingIsOneLevelDeepAndTellsDirectories) {
  ASSERT_EQ(0, ::mkdir(In("directory").c_str(), 0755));
  WriteFile(In("directory/inside"), "x");
  for (const char* name : {"plain", ".hidden", "e\xcc\x81", "\xff not UTF-8", "new\nline"}) WriteFile(In(name), "x");
  ASSERT_EQ(0, ::symlink("directory", In("to directory").c_str()));
  ASSERT_EQ(0, ::symlink("nothing", In("dangling").c_str()));
  const std::map<std::string, int> expected = {{"directory", 1},    {"plain", 0},          {".hidden", 0},
                                               {"\xc3\xa9", 0},     {"\xff not UTF-8", 0}, {"new\nline", 0},
                                               {"to directory", 1}, {"dangling", 0}};
  EXPECT_EQ(expected, List(Root()));

  FindFileInfo untouched;
  untouched.path.setUTF8("untouched");
  ASSERT_EQ(0, ::mkdir(In("empty").c_str(), 0755));
  for (const char* name : {"empty", "plain", "missing", "dangling"}) {
    EXPECT_EQ(nullptr, manager.FindFirst(Path(In(name)), untouched)) << name;
  }
  EXPECT_EQ(nullptr, manager.FindFirst(QuillFileString(), untouched));
  EXPECT_EQ("untouched", Text(untouched.path));
  EXPECT_TRUE(manager.FindClose(nullptr));

  QuillFileFindRef* const volumes = manager.FindFirstRoot(untouched);
  EXPECT_EQ("/", Text(untouched.path));
  EXPECT_EQ(kQuillFileTypeDirectory, untouched.type);
  EXPECT_FALSE(manager.FindNext(volumes, untouched));
  EXPECT_TRUE(manager.FindClose(volumes));
  EXPECT_EQ("nothing", manager.Reason());
}

TEST_F(NamesTest, EntriesThatVanishAreFiles) {
  for (int i = 0; i < 20; ++i) ASSERT_EQ(0, ::mkdir(In(std::to_string(i)).c_str(), 0755));
  FindFileInfo info;
  QuillFileFindRef* const handle = manager.FindFirst(Path(Root()), info);
  ASSERT_TRUE(handle);
  for (int i = 0; i < 20; ++i) ASSERT_EQ(0, ::rmdir(In(std::to_string(i)).c_str()));
  int delivered = 1;
  for (; manager.FindNext(handle, info); ++delivered) EXPECT_EQ(kQuillFileTypeFile, info.type);
  EXPECT_LE(delivered, 20);
  manager.FindClose(handle);
}

TEST_F(NamesTest, LinksAreMadeReadAndResolvedOneStep) {
  WriteFile(In("file"), "x");
  const std::string longText(1023, 'x'), tooLong(1500, 'y');
  const struct {
    std::string text, read, resolved;
  } rows[] = {
      {"sub/f", "sub/f", In("sub/f")},    {"../x", "../x", In("../x")},
      {"/abs/y", "/abs/y", "/abs/y"},     {"e\xcc\x81", "e\xcc\x81", In("\xc3\xa9")},
      {longText, longText, In(longText)}, {tooLong, tooLong.substr(0, 1024), In(tooLong)},
  };
  for (const auto& [text, read, resolved] : rows) {
    QuillFileString result, path = Path(In("link"));
    ASSERT_TRUE(manager.FileCreateSymLink(Path(text), path)) << text;
    EXPECT_TRUE(manager.FileReadSymLink(path, result));
    EXPECT_EQ(read, Text(result));
    EXPECT_TRUE(manager._PathCanonicalizeSymLink(path));
    EXPECT_EQ(resolved, Text(path));
    ASSERT_TRUE(manager.FileDelete(Path(In("link"))));
  }
  QuillFileString file = Path(In("file")), result = Path("untouched");
  EXPECT_FALSE(manager._PathCanonicalizeSymLink(file));
  EXPECT_EQ(In("file"), Text(file));
  EXPECT_EQ("nothing", manager.Reason());

  const auto outcome = [&](bool succeeded) { return std::string(succeeded ? "true, " : "false, ") + manager.Reason(); };
  EXPECT_EQ("false, 3000 stored", outcome(manager.FileReadSymLink(file, result)));
  EXPECT_EQ("false, 3003 stored", outcome(manager.FileReadSymLink(Path(In("missing")), result)));
  EXPECT_EQ("false, 2038 stored", outcome(manager.FileReadSymLink(QuillFileString(), result)));
  EXPECT_EQ("false, 3011 stored", outcome(manager.FileCreateSymLink(Path("x"), file)));
  EXPECT_EQ("false, 3003 stored", outcome(manager.FileCreateSymLink(Path("x"), Path(In("missing/link")))));
  EXPECT_EQ("false, 2038 stored", outcome(manager.FileCreateSymLink(QuillFileString(), Path(In("new")))));
  EXPECT_EQ("untouched", Text(result));
}

TEST_F(NamesTest, StandardDirectoriesComeComposed) {
  ASSERT_EQ(0, ::mkdir(In("e\xcc\x81").c_str(), 0755));
  ASSERT_EQ(0, ::setenv("HOME", In("e\xcc\x81").c_str(), 1));
  QuillFileString home, user, current;
  EXPECT_TRUE(manager.DirGetUserHomePath(home) && manager.DirGetUser(user));
  EXPECT_EQ(In("\xc3\xa9"), Text(home));
  EXPECT_EQ(In("\xc3\xa9"), Text(user));

  ASSERT_EQ(0, ::chdir("/"));
  EXPECT_TRUE(manager.DirGetCurrent(current));
  EXPECT_EQ(In("\xc3\xa9"), Text(current));
  ASSERT_EQ(0, ::chdir(In("e\xcc\x81").c_str()));
  EXPECT_TRUE(manager.DirGetCurrent(current));
  EXPECT_EQ(In("\xc3\xa9"), Text(current));
  ASSERT_EQ(0, ::rmdir(In("e\xcc\x81").c_str()));
  current.setUTF8("untouched");
  EXPECT_FALSE(manager.DirGetCurrent(current));
  EXPECT_EQ("untouched", Text(current));
  ASSERT_EQ(0, ::chdir("/"));
}

using Conversion = bool (CoreFileManager::*)(const QuillFileString&, QuillFileString&);
constexpr Conversion kUrl = &CoreFileManager::FileGetPathUrl, kPath = &CoreFileManager::FileGetUrlPath,
                     kEarlierUrl = &CoreFileManager::FileGetPathUrlPreVeranda,
                     kEarlierPath = &CoreFileManager::FileGetUrlPathPreVeranda;

TEST_F(NamesTest, PathsAndUrlsConvertAsTheExamplesSay) {
  ASSERT_EQ(0, ::mkdir(In("dir").c_str(), 0755));
  ASSERT_EQ(0, ::chdir(Root().c_str()));
  ASSERT_EQ(0, ::setenv("HOME", "/home/me", 1));
  const std::string refused = "false";
  const struct {
    Conversion conversion;
    std::string given, wanted;
  } rows[] = {
      {kUrl, "/tmp/a b", "file:///tmp/a%20b"},
      {kUrl, "/tmp/x?y", "file:///tmp/x%3Fy"},
      {kUrl, "/tmp/100%", "file:///tmp/100%25"},
      {kUrl, "/tmp/a:b;c", "file:///tmp/a%3Ab%3Bc"},
      {kUrl, "/tmp/\xc3\xa9", "file:///tmp/%C3%A9"},
      {kUrl, "docs/a.txt", "file://docs/a.txt"},
      {kUrl, "~/x", "file:///home/me/x"},
      {kUrl, "/a\x01", "(none)"},
      {kPath, "file:///tmp/a%20b", "/tmp/a b"},
      {kPath, "file:///tmp/a b", "/tmp/a b"},
      {kPath, "file:///tmp/x?y", "/tmp/x?y"},
      {kPath, "file:///tmp/x%3Fy", "/tmp/x?y"},
      {kPath, "file:///tmp/a#b", "/tmp/a#b"},
      {kPath, "file:///tmp/100%25", "/tmp/100%"},
      {kPath, "file:///tmp/100%", refused},
      {kPath, "file:///tmp/%C3", refused},
      {kPath, "file://localhost/tmp/a", "/tmp/a"},
      {kPath, "file:///tmp/dir/", "/tmp/dir"},
      {kPath, "/tmp/a%20b", "/tmp/a b"},
      {kPath, "file:/tmp/x", "file:/tmp/x"},
      {kPath, "file:///tmp/a%2520b", "/tmp/a%20b"},
      {kPath, "file:///a%3A//b", "/a://b"},
      {kPath, "file:///", "/"},
      {kEarlierUrl, "/tmp/a b", "file:///tmp/a%20b"},
      {kEarlierUrl, In("dir"), "file://" + In("dir")},
      {kEarlierUrl, In("dir/"), "file://" + In("dir")},
      {kEarlierUrl, In("no dir//"), "file://" + In("no%20dir/")},
      {kEarlierUrl, "/", "file:///"},
      {kEarlierUrl, "a.txt", "file://" + In("a.txt")},
      {kEarlierPath, "file:///tmp/a%20b", "/tmp/a b"},
      {kEarlierPath, "file:///tmp/x?y", "/tmp/x?y"},
      {kEarlierPath, "file:///tmp/a#b", "/tmp/a#b"},
      {kEarlierPath, "file:///tmp/100%", refused},
  };
  for (const auto& [conversion, given, wanted] : rows) {
    QuillFileString result = Path("untouched");
    const bool succeeded = (manager.*conversion)(Path(given), result);
    EXPECT_EQ(wanted != refused, succeeded) << given;
    EXPECT_EQ(succeeded ? wanted : "untouched", Text(result)) << given;
  }
  EXPECT_EQ("nothing", manager.Reason());
  ASSERT_EQ(0, ::chdir("/"));
}

TEST_F(NamesTest, NoTextConvertsIntoNothing) {
  for (const Conversion conversion : {kUrl, kPath, kEarlierUrl, kEarlierPath}) {
    QuillFileString result = Path("untouched");
    EXPECT_FALSE((manager.*conversion)(QuillFileString(), result));
    EXPECT_EQ("untouched", Text(result));
  }
  EXPECT_EQ("nothing", manager.Reason());
}

}  // namespace
}  // namespace quill_test
