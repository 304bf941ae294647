// Paths to file URLs and back.

#include <filesystem>
#include <iostream>

#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using UrlsTest = ManagerTest;

using Conversion = bool (CoreFileManager::*)(const QuillFileString&, QuillFileString&);
constexpr Conversion kUrl = &CoreFileManager::FileGetPathUrl, kPath = &CoreFileManager::FileGetUrlPath,
                     kEarlierUrl = &CoreFileManager::FileGetPathUrlPreVeranda,
                     kEarlierPath = &CoreFileManager::FileGetUrlPathPreVeranda;

TEST_F(UrlsTest, PathsAndUrlsConvertAsTheExamplesSay) {
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
