#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/darwin/Trees.h"
#include "tests/darwin/RecordingObserver.h"
#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"
#include "tests/support/Trees.h"

namespace {

using namespace quill_test;
namespace fs = std::filesystem;

class RemoveTree : public DirectoryTest {
 protected:
  int Remove(const std::string& name) { return darwin::RemoveTree(In(name).c_str()); }
};

TEST_F(RemoveTree, TakesEverythingAndFollowsNothing) {
  MakeMixedTree(In("tree"));
  fs::create_directories(In("bait/inside"));
  fs::create_directory_symlink(In("bait"), In("tree/d/link"));
  const auto before = Describe(In("bait"));
  EXPECT_EQ(0, Remove("tree"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(In("tree"))));
  EXPECT_EQ(before, Describe(In("bait")));
}

TEST_F(RemoveTree, JudgesTheEndOfThePath) {
  const struct {
    const char* path;
    int error;
    bool removed;
  } rows[] = {
      {"file", 0, true},
      {"file/", ENOTDIR, false},
      {"file/.", ENOTDIR, false},
      {"directory", 0, true},
      {"directory/", 0, true},
      {"directory//", 0, true},
      {"directory/.", EINVAL, false},
      {"directory/..", EINVAL, false},
      {"link", 0, true},
      {"link/", ENOTDIR, false},
      {"link//", ENOTDIR, false},
      {"link/.", EINVAL, false},
      {"dangling", 0, true},
      {"dangling/", ENOTDIR, false},
      {"dangling/.", ENOENT, false},
      {"fileLink/", ENOTDIR, false},
      {"missing", ENOENT, false},
      {"file/under", ENOTDIR, false},
  };
  for (const auto& [path, error, removed] : rows) {
    fs::create_directories(In("target/inside"));
    fs::create_directories(In("directory/inside"));
    WriteFile(In("file"), "");
    fs::create_directory_symlink("target", In("link"));
    fs::create_symlink("nowhere", In("dangling"));
    fs::create_symlink("file", In("fileLink"));
    EXPECT_EQ(error, Remove(path)) << path;
    const std::string name = std::string(path).substr(0, std::string(path).find('/'));
    EXPECT_EQ(removed || name == "missing", !fs::exists(fs::symlink_status(In(name)))) << path;
    EXPECT_TRUE(fs::exists(In("target/inside"))) << path;
    for (const char* left : {"file", "directory", "link", "dangling", "fileLink", "target"}) fs::remove_all(In(left));
  }
  EXPECT_EQ(EBUSY, darwin::RemoveTree("/"));
  EXPECT_EQ(EBUSY, darwin::RemoveTree("//"));
  EXPECT_EQ(EINVAL, darwin::RemoveTree("."));
  EXPECT_EQ(ENOENT, darwin::RemoveTree(""));
}

TEST_F(RemoveTree, GoesOnPastWhatResists) {
  AsOrdinaryUser(Root(), [this] {
    for (const char* name : {"tree/a", "tree/closed", "tree/empty", "tree/z/y"}) fs::create_directories(In(name));
    for (const char* name : {"tree/a/1", "tree/closed/kept", "tree/z/y/2", "tree/3"}) WriteFile(In(name), "");
    ASSERT_EQ(0, ::chmod(In("tree/closed").c_str(), 0555));
    ASSERT_EQ(0, ::chmod(In("tree/empty").c_str(), 0));  // cannot be read, but is empty
    RecordingObserver observer;
    const darwin::TreeObserverScope scope(&observer);
    EXPECT_EQ(EACCES, Remove("tree"));
    EXPECT_EQ(2, std::distance(fs::recursive_directory_iterator(In("tree")), fs::recursive_directory_iterator()));
    EXPECT_TRUE(fs::exists(In("tree/closed/kept")));
    const std::vector<std::pair<std::string, int>> first{{"closed/kept", EACCES}};
    EXPECT_EQ(first, observer.failures);
    EXPECT_EQ(7U, observer.done.items);
    ASSERT_EQ(0, ::chmod(In("tree/closed").c_str(), 0755));

    // The tree's own name stays where nothing may be removed, but what lies in it goes.
    ASSERT_EQ(0, ::chmod(Root().c_str(), 0555));
    EXPECT_EQ(EACCES, Remove("tree"));
    EXPECT_TRUE(fs::is_empty(In("tree")));
    ASSERT_EQ(0, ::chmod(Root().c_str(), 0755));
  });
}

TEST_F(RemoveTree, StopsWhenTold) {
  MakeDeepTree(In("tree"), 5);
  RecordingObserver observer;
  observer.meddle = [](const darwin::TreeProgress& done) { return done.items < 3; };
  const darwin::TreeObserverScope scope(&observer);
  EXPECT_EQ(ECANCELED, Remove("tree"));
  EXPECT_EQ(3U, observer.done.items);
  EXPECT_TRUE(fs::exists(In("tree")));
}

}  // namespace
