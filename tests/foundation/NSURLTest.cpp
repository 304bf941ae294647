#include "platform/foundation/NSURL.h"

#include <filesystem>

#include "tests/support/Fixture.h"

using foundation::NSString;
using foundation::NSURL;
using foundation::RetainPtr;

namespace {

constexpr const char* kNoURL = "(no URL)";
constexpr const char* kNoPath = "(no path)";

RetainPtr<NSString> Platform(std::string_view text) { return NSString::stringWithFileSystemBytes(text); }

std::string PathOf(const RetainPtr<NSURL>& url) {
  if (!url) return kNoURL;
  const auto path = url->path();
  return path ? std::string(path->view()) : kNoPath;
}

std::string FileURL(std::string_view path) {
  const auto url = NSURL::fileURLWithPath(Platform(path).get());
  return url ? std::string(url->absoluteString()->view()) : kNoURL;
}

class CurrentDirectory {
 public:
  explicit CurrentDirectory(const std::string& directory) : before(std::filesystem::current_path()) {
    std::filesystem::current_path(directory);
  }
  ~CurrentDirectory() { std::filesystem::current_path(before); }

 private:
  std::filesystem::path before;
};

constexpr struct {
  std::string_view text;
  std::string_view path;
} kReferences[] = {
    {"", ""},
    {"/", "/"},
    {"a/b:c", "a/b:c"},
    {"?q", ""},
    {"#f", ""},
    {"file:///tmp/a%20b", "/tmp/a b"},
    {"file://localhost/tmp/a", "/tmp/a"},
    {"file://docs/a.txt", "/a.txt"},
    {"file://docs", ""},
    {"file://%7Euser/x", "/x"},
    {"file://a%3Ab%40c/x", "/x"},
    {"file%3A/tmp/x", "file:/tmp/x"},
    {"file:/tmp/x", "/tmp/x"},
    {"mailto:a@b", "a@b"},
    {"h+t-t.p9://u:p@h:80/p/q?/?#/?", "/p/q"},
    {"s://h:/p", "/p"},
    {"s://[::1]:8/p", "/p"},
    {"s://[1:2:3:4:5:6:1.2.3.4]/p", "/p"},
    {"s://u@[v1F.a:b]/p", "/p"},
    {"////", "/"},
    {"/a//", "/a"},
    {"/a/;p=1/?", "/a/;p=1"},
    {"/a%2F", "/a/"},
    {"/a%00b", kNoPath},
    {"/a%FF", kNoPath},
    // No references:
    {":a", kNoURL},
    {"1a:b", kNoURL},
    {"%41:b", kNoURL},
    {"a@b:c", kNoURL},
    {"/a b", kNoURL},
    {"/a\x01", kNoURL},
    {"/caf\xC3\xA9", kNoURL},
    {"/%", kNoURL},
    {"/%4", kNoURL},
    {"/%4g", kNoURL},
    {"s://h/?%", kNoURL},
    {"#a#b", kNoURL},
    {"?[", kNoURL},
    {"s://u@v@h/", kNoURL},
    {"s://h:8a/", kNoURL},
    {"s://h:8:9/", kNoURL},
    {"s://[::1/", kNoURL},
    {"s://[::1]a/", kNoURL},
    {"s://[1::2::3]/", kNoURL},
    {"s://[0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0]/", kNoURL},
    {"s://[v.a]/", kNoURL},
    {"s://[v1.]/", kNoURL},
};

struct FileURLTest : quill_test::DirectoryTest {};

}  // namespace

TEST(URLWithString, TakesReferencesApartByTheGrammar) {
  for (const auto& [text, path] : kReferences) {
    const auto url = NSURL::URLWithString(Platform(text).get());
    EXPECT_EQ(path, PathOf(url)) << text;
    if (!url) continue;
    EXPECT_EQ(text, url->absoluteString()->view());
  }
  EXPECT_FALSE(NSURL::URLWithString(nullptr));
}

TEST_F(FileURLTest, EncodesWhatMayNotStandInAPath) {
  const struct {
    std::string_view path;
    std::string_view url;
  } rows[] = {
      {"/", "file:///"},
      {"//none", "file:////none"},
      {"/none/", "file:///none/"},
      {"/none/a b", "file:///none/a%20b"},
      {"/none/\"#%<>?[\\]^`{|}", "file:///none/%22%23%25%3C%3E%3F%5B%5C%5D%5E%60%7B%7C%7D"},
      {"/none/-._~!$&'()*+,;=:@", "file:///none/-._~!$&'()*+,;=:@"},
      {"/none/\x01\x7F\xC3\xA9", "file:///none/%01%7F%C3%A9"},
  };
  for (const auto& [path, url] : rows) {
    EXPECT_EQ(url, FileURL(path));
    EXPECT_EQ(path == "/none/" ? "/none" : path, PathOf(NSURL::fileURLWithPath(Platform(path).get())));
  }
  EXPECT_EQ("file:///none/%FF", FileURL("/none/\xFF"));
  EXPECT_EQ(kNoPath, PathOf(NSURL::fileURLWithPath(Platform("/none/\xFF").get())));
  EXPECT_FALSE(NSURL::fileURLWithPath(nullptr));
}

TEST_F(FileURLTest, EndsDirectoriesInASlashAndCountsFromTheCurrentDirectory) {
  std::filesystem::create_directory(In("docs"));
  std::filesystem::create_directory_symlink("docs", In("link"));
  quill_test::WriteFile(In("a.txt"), "");
  const CurrentDirectory inRoot(Root());
  const std::string base = "file://" + Root() + "/";
  EXPECT_EQ(base + "docs/", FileURL(In("docs")));
  EXPECT_EQ(base + "docs/", FileURL("docs/"));
  EXPECT_EQ(base + "link/", FileURL("link"));
  EXPECT_EQ(base + "a.txt", FileURL("a.txt"));
  EXPECT_EQ(base + "none", FileURL("none"));
  EXPECT_EQ(base + "none/", FileURL("none/"));
  EXPECT_EQ(base + "~", FileURL("~"));
  EXPECT_EQ(base, FileURL(""));
  const CurrentDirectory inTop("/");
  EXPECT_EQ("file:///none", FileURL("none"));
  EXPECT_EQ("file:///", FileURL(""));
}

TEST_F(FileURLTest, HasNoURLForARelativePathInADeletedDirectory) {
  std::filesystem::create_directory(In("gone"));
  const CurrentDirectory inGone(In("gone"));
  std::filesystem::remove(In("gone"));
  EXPECT_EQ(kNoURL, FileURL("a"));
  EXPECT_EQ("file:///none", FileURL("/none"));
}
