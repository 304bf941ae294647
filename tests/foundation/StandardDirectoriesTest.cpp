#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <optional>

#include "platform/foundation/NSStandardDirectories.h"
#include "tests/support/Fixture.h"
#include "tests/support/ScopedVariable.h"

using quill::foundation::NSHomeDirectory;
using quill::foundation::NSSearchPathDirectory;
using quill::foundation::NSSearchPathForDirectoryInUserDomain;
using quill::foundation::NSString;
using quill_test::ScopedVariable;

namespace {

std::string Text(const quill::foundation::RetainPtr<NSString>& path) {
  return path ? std::string(path->view()) : "(none)";
}

std::string Directory(NSSearchPathDirectory kind) { return Text(NSSearchPathForDirectoryInUserDomain(kind)); }

std::string Expanded(const char* path) {
  return Text(NSString::stringWithUTF8String(path)->stringByExpandingTildeInPath());
}

/// What the tool of the desktop finds; empty when it is not installed.
std::string ByTool(const char* name) {
  std::FILE* pipe = ::popen((std::string("xdg-user-dir ") + name + " 2>/dev/null").c_str(), "r");
  char line[4096] = "";
  const bool answered = pipe && std::fgets(line, sizeof line, pipe);
  if (pipe) ::pclose(pipe);
  std::string directory = answered ? line : "";
  while (directory.ends_with('\n') || directory.ends_with('/')) directory.pop_back();
  return directory;
}

/// A home directory of its own, and none of the variables that lead elsewhere.
class StandardDirectories : public quill_test::DirectoryTest {
 protected:
  void SetUp() override {
    DirectoryTest::SetUp();
    homeVariable.emplace("HOME", Root());
  }

  std::optional<ScopedVariable> homeVariable;
  ScopedVariable configuration{"XDG_CONFIG_HOME", std::nullopt};
};

}  // namespace

TEST_F(StandardDirectories, HomeAndCachesAreTheEnvironmentsWhenAbsolute) {
  const std::string byDatabase = ::getpwuid(::getuid())->pw_dir;
  const struct {
    const char* variable;
    std::optional<std::string> value;
    std::string home, caches;
  } rows[] = {
      {"HOME", "/no/such/home//", "/no/such/home", "/no/such/home/.cache"},
      {"HOME", "/not\xFFtext", "/not\xFFtext", "/not\xFFtext/.cache"},
      {"HOME", "", byDatabase, byDatabase + "/.cache"},
      {"HOME", "~", byDatabase, byDatabase + "/.cache"},
      {"HOME", "relative/home", byDatabase, byDatabase + "/.cache"},
      {"HOME", std::nullopt, byDatabase, byDatabase + "/.cache"},
      {"XDG_CACHE_HOME", std::nullopt, Root(), In(".cache")},
      {"XDG_CACHE_HOME", "relative", Root(), In(".cache")},
      {"XDG_CACHE_HOME", "/var/cache/of me/", Root(), "/var/cache/of me"},
  };
  for (const auto& [variable, value, home, caches] : rows) {
    const ScopedVariable set(variable, value);
    EXPECT_EQ(home, Text(NSHomeDirectory()));
    EXPECT_EQ(caches, Directory(NSSearchPathDirectory::kCaches));
  }
}

TEST_F(StandardDirectories, AreMissingWithoutAHome) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become a user whom the password database does not know";
  const auto asUnknownUser = [] {
    ::unsetenv("HOME");
    if (::setuid(54321) != 0) ::_exit(2);
    const bool found = NSHomeDirectory() || NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::kDesktop) ||
                       NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory::kCaches);
    ::_exit(found || Expanded("~/x") != "~/x" ? 1 : 0);
  };
  EXPECT_EXIT(asUnknownUser(), ::testing::ExitedWithCode(0), "");
}

TEST_F(StandardDirectories, DesktopIsWhatTheUsersFileSays) {
  const std::string own = In("Desktop");
  const struct {
    const char* file;
    std::string desktop;
    bool toolAgrees = true;  // it lets a shell read the file, whatever stands in it
  } rows[] = {
      {"", own},
      {"XDG_DESKTOP_DIR=\"$HOME/Schreib tisch\"\n", In("Schreib tisch")},
      {"XDG_DESKTOP_DIR=\"/srv/B\xC3\xBCro/\"", "/srv/B\xC3\xBCro"},
      {"# c\nXDG_DESKTOP_DIR=\"/a\"\n#XDG_DESKTOP_DIR=\"/b\"\n", "/a"},
      {"XDG_DESKTOP_DIR=\"/a\"\n  XDG_DESKTOP_DIR=\"/b#c\" # d\n", "/b#c"},
      {"XDG_DESKTOP_DIR=\"$HOME/\"\n", Root()},
      {"XDG_DESKTOP_DIR=\"\"\n", own},
      {"XDG_DESKTOP_DIRS=\"/a\"\nXDG_DESK_DIR=\"/a\"\nXDG_DOCUMENTS_DIR=\"/a\"\n", own},
      {"XDG_DESKTOP_DIR=\"$HOME/a\\$b\\\"c\\\\d\\`\"\n", In("a$b\"c\\d`"), false},
      {"XDG_DESKTOP_DIR = \"/a\"\r\n", "/a", false},
      {"XDG_DESKTOP_DIR=\"/a\"\nXDG_DESKTOP_DIR=\"b/c\"\n", "/a", false},
      {"XDG_DESKTOP_DIR=\"$HOMER/a\"\n", own, false},
      {"XDG_DESKTOP_DIR=/a\n", own, false},
      {"XDG_DESKTOP_DIR=\"/a\n", own, false},
      {"XDG_DESKTOP_DIR=\"/a\\", own, false},
  };
  const bool hasTool = !ByTool("DESKTOP").empty();
  if (!hasTool) std::printf("xdg-user-dir is not installed: nothing was compared with it\n");
  std::filesystem::create_directory(In(".config"));
  for (const auto& [file, desktop, toolAgrees] : rows) {
    quill_test::WriteFile(In(".config/user-dirs.dirs"), file);
    EXPECT_EQ(desktop, Directory(NSSearchPathDirectory::kDesktop)) << file;
    if (hasTool && toolAgrees) {
      EXPECT_EQ(ByTool("DESKTOP"), desktop) << file;
    }
  }
}

TEST_F(StandardDirectories, UserDirectoriesAreFoundWhereTheConfigurationLies) {
  std::filesystem::create_directory(In("settings"));
  quill_test::WriteFile(In("settings/user-dirs.dirs"),
                        "XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\nXDG_DOWNLOAD_DIR=\"/srv/new\"\n");
  {
    const ScopedVariable relative("XDG_CONFIG_HOME", "settings");
    EXPECT_EQ(In("Documents"), Directory(NSSearchPathDirectory::kDocument));
    EXPECT_EQ(In("Downloads"), Directory(NSSearchPathDirectory::kDownloads));
  }
  const ScopedVariable settings("XDG_CONFIG_HOME", In("settings"));
  EXPECT_EQ(In("Papers"), Directory(NSSearchPathDirectory::kDocument));
  EXPECT_EQ("/srv/new", Directory(NSSearchPathDirectory::kDownloads));
  EXPECT_EQ(In("Desktop"), Directory(NSSearchPathDirectory::kDesktop));
  const ScopedVariable rootIsHome("HOME", "/");
  EXPECT_EQ("/Papers", Directory(NSSearchPathDirectory::kDocument));
  EXPECT_EQ("/Desktop", Directory(NSSearchPathDirectory::kDesktop));
}

TEST_F(StandardDirectories, AFileThatIsNoFileSaysNothingAndBlocksNobody) {
  std::filesystem::create_directory(In(".config"));
  ASSERT_EQ(0, ::mkfifo(In(".config/user-dirs.dirs").c_str(), 0600));
  EXPECT_EQ(In("Desktop"), Directory(NSSearchPathDirectory::kDesktop));
}

TEST_F(StandardDirectories, ATildeIsAHomeDirectory) {
  const std::string rootsHome = ::getpwnam("root")->pw_dir;
  const std::pair<const char*, std::string> rows[] = {{"~", Root()},
                                                      {"~/", In("")},
                                                      {"~/a/~", In("a/~")},
                                                      {"~root/a", rootsHome + "/a"},
                                                      {"~nobody?/", "~nobody?/"},
                                                      {"a/~", "a/~"},
                                                      {"/~/a", "/~/a"},
                                                      {"", ""}};
  for (const auto& [path, expanded] : rows) EXPECT_EQ(expanded, Expanded(path)) << path;
  const ScopedVariable rootIsHome("HOME", "/");
  EXPECT_EQ("/", Expanded("~"));
  EXPECT_EQ("/a", Expanded("~/a"));
}
