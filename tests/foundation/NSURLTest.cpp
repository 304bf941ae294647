#include "platform/foundation/NSURL.h"

#include <filesystem>
#include <utility>

#include "tests/support/Fixture.h"

using quill::foundation::NSString;
using quill::foundation::NSURL;
using quill::foundation::RetainPtr;

namespace {

constexpr const char* kNoURL = "(no URL)";
constexpr const char* kNoPath = "(no path)";

RetainPtr<NSString> Platform(std::string_view text) { return NSString::stringWithFileSystemBytes(text); }

std::string PathOf(const RetainPtr<NSURL>& url) {
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

constexpr std::pair<std::string_view, std::string_view> kReferences[] = {
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
};

constexpr std::string_view kNoReferences[] = {
    ":a",         "1a:b",        "%41:b",          "a@b:c",
    "/a b",       "/a\x01",      "/caf\xC3\xA9",   "/%",
    "/%4",        "/%4g",        "s://h/?%",       "#a#b",
    "?[",         "s://u@v@h/",  "s://h:8a/",      "s://h:8:9/",
    "s://[::1/",  "s://[::1]a/", "s://[1::2::3]/", "s://[0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0:0]/",
    "s://[v.a]/", "s://[v1.]/"};

struct FileURLTest : quill_test::DirectoryTest {};

}  // namespace

TEST(URLWithString, TakesReferencesApartByTheGrammar) {
  for (const auto& [text, path] : kReferences) {
    const auto url = NSURL::URLWithString(Platform(text).get());
    ASSERT_TRUE(url) << text;
    EXPECT_EQ(path, PathOf(url)) << text;
    EXPECT_EQ(text, url->absoluteString()->view());
  }
  for (const auto text : kNoReferences) EXPECT_FALSE(NSURL::URLWithString(Platform(text).get())) << text;
  EXPECT_FALSE(NSURL::URLWithString(nullptr));
}

TEST_F(FileURLTest, EncodesWhatMayNotStandInAPath) {
  const std::pair<std::string_view, std::string_view> rows[] = {
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
  const std::pair<std::string, std::string> rows[] = {
      {In("docs"), "docs/"}, {"docs/", "docs/"}, {"link", "link/"}, {"a.txt", "a.txt"},
      {"none", "none"},      {"none/", "none/"}, {"~", "~"},        {"", ""}};
  for (const auto& [path, url] : rows) EXPECT_EQ("file://" + In(url), FileURL(path));
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
