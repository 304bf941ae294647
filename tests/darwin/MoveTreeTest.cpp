#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "platform/darwin/Trees.h"
#include "tests/darwin/RecordingObserver.h"
#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"
#include "tests/support/Trees.h"

namespace {

using namespace quill_test;
namespace fs = std::filesystem;

class MoveTree : public DirectoryTest {
 protected:
  int Move(const std::string& from, const std::string& to) {
    return darwin::MoveTree(In(from).c_str(), In(to).c_str());
  }
};

TEST_F(MoveTree, RenamesWithoutReplacing) {
  fs::create_directories(In("tree/inside"));
  fs::create_directory(In("empty"));
  WriteFile(In("file"), "contents");
  fs::create_hard_link(In("file"), In("same"));
  fs::create_symlink("nowhere", In("dangling"));
  fs::create_directory_symlink("tree", In("link"));
  const auto before = Describe(Root());
  const struct {
    const char* from;
    const char* to;
    int error;
  } rows[] = {
      {"file", "empty", EEXIST},
      {"file", "dangling", EEXIST},
      {"file", "same", EEXIST},
      {"file", "file", EEXIST},
      {"tree", "empty", EEXIST},
      {"tree", "tree", EEXIST},
      {"tree", "tree/new", EINVAL},
      {"tree", "link/new", EINVAL},
      {"tree", "tree/inside/new", EINVAL},
      {"missing", "new", ENOENT},
      {"file/", "new", ENOTDIR},
      {"link/", "new", ENOTDIR},
      {"file", "new/", ENOTDIR},
      {"tree/.", "new", EINVAL},
      {"tree/..", "new", EINVAL},
      {"tree", "missing/new", ENOENT},
      {"tree", "new/.", ENOENT},
      {"tree", "empty/.", EEXIST},
      {"tree", "", EEXIST},
  };
  for (const auto& [from, to, error] : rows) EXPECT_EQ(error, Move(from, to)) << from << " to " << to;
  EXPECT_EQ(EBUSY, darwin::MoveTree("/", In("new").c_str()));
  EXPECT_EQ(before, Describe(Root()));

  EXPECT_EQ(0, Move("tree/", "moved/"));
  EXPECT_EQ(0, Move("link", "moved/link"));
  EXPECT_EQ("tree", fs::read_symlink(In("moved/link")));
}

TEST_F(MoveTree, ChangesTheNormalizationOfAName) {
  const std::string composed = "\xc3\xa9";
  const std::string decomposed = "e\xcc\x81";
  WriteFile(In(composed), "contents");
  EXPECT_EQ(0, Move(composed, decomposed));
  EXPECT_EQ(0, Move(composed, "plain"));  // found by its other name
  EXPECT_EQ(0, Move("plain", composed));
  WriteFile(In("other"), "");
  EXPECT_EQ(EEXIST, Move("other", decomposed));
  fs::create_hard_link(In(composed), In("link"));
  EXPECT_EQ(EEXIST, Move("link", decomposed));
  EXPECT_EQ("contents", Contents(In(composed)));
}

/// The same with the target, or the source, on another file system.
class MoveTreeAcross : public MoveTree {
 protected:
  void SetUp() override {
    MoveTree::SetUp();
    fs::create_directory(In("other"));
    mount.emplace("tmpfs", In("other"), "");
    if (!*mount) GTEST_SKIP() << mount->WhyNot();
  }
  void TearDown() override {
    mount.reset();
    MoveTree::TearDown();
  }
  std::ptrdiff_t CountItems(const std::string& name) {
    return std::distance(fs::directory_iterator(In(name)), fs::directory_iterator());
  }

 private:
  std::optional<Mount> mount;
};

TEST_F(MoveTreeAcross, BringsEverything) {
  MakeMixedTree(In("tree"));
  for (const char* part : {"/dangling", "/d/large", "/d/fifo", ""}) {
    const auto before = Describe(In("tree") + part);
    ASSERT_EQ(0, Move(std::string("tree") + part, "other/moved")) << part;
    EXPECT_FALSE(fs::exists(fs::symlink_status(In("tree") + part))) << part;
    EXPECT_EQ(before, Describe(In("other/moved"))) << part;
    ASSERT_EQ(0, Move("other/moved", std::string("tree") + part)) << part;
    EXPECT_EQ(before, Describe(In("tree") + part)) << part;
  }
  EXPECT_TRUE(fs::is_empty(In("other")));
  EXPECT_EQ(2, CountItems("."));
}

TEST_F(MoveTreeAcross, RefusesWithoutAChange) {
  fs::create_directories(In("tree/mounted"));
  WriteFile(In("other/there"), "");
  EXPECT_EQ(EEXIST, Move("tree", "other/there"));
  EXPECT_EQ(EBUSY, Move("other", "moved"));
  const Mount inside("tmpfs", In("tree/mounted"), "");
  ASSERT_TRUE(inside);
  WriteFile(In("tree/mounted/kept"), "");
  EXPECT_EQ(EBUSY, Move("tree", "other/moved"));
  EXPECT_EQ(EINVAL, Move("tree", "tree/mounted/moved"));
  EXPECT_EQ(1, CountItems("other"));
  EXPECT_EQ(1, CountItems("tree/mounted"));
  EXPECT_EQ(2, CountItems("."));
}

// What appears or changes in the source while it is copied is not removed with it.
TEST_F(MoveTreeAcross, LosesNothingThatCameMeanwhile) {
  const struct {
    const char* kept;
    std::function<void(const std::string& source)> meddle;
  } rows[] = {
      {"new", [](const std::string& source) { WriteFile(source + "/new", "late"); }},
      {"d/new/deep", [](const std::string& source) { fs::create_directories(source + "/d/new/deep"); }},
      {"d/large", [](const std::string& source) { std::ofstream(source + "/d/large", std::ios::app) << "late"; }},
      {"file",
       [](const std::string& source) {
         WriteFile(source + "/replacement", "late");
         fs::rename(source + "/replacement", source + "/file");
       }},
  };
  for (const auto& [kept, meddle] : rows) {
    MakeMixedTree(In("tree"));
    const auto count = Describe(In("tree")).size();
    RecordingObserver observer;
    observer.meddle = [&, meddle = meddle](const darwin::TreeProgress& done) {
      if (done.items == count) meddle(In("tree"));  // everything has been copied, nothing removed
      return true;
    };
    const darwin::TreeObserverScope scope(&observer);
    EXPECT_EQ(EBUSY, Move("tree", "other/moved")) << kept;
    EXPECT_EQ(count, Describe(In("other/moved")).size()) << kept;
    EXPECT_TRUE(fs::exists(In("tree") + "/" + kept)) << kept;
    EXPECT_FALSE(fs::exists(In("tree/dangling"))) << kept;
    fs::remove_all(In("tree"));
    fs::remove_all(In("other/moved"));
  }
}

TEST_F(MoveTreeAcross, LeavesTheSourceWhenItIsStopped) {
  MakeMixedTree(In("tree"));
  const auto before = Describe(In("tree"));
  for (std::uint64_t last = 1; last < before.size(); last += 3) {
    RecordingObserver observer;
    observer.meddle = [last](const darwin::TreeProgress& done) { return done.items < last; };
    const darwin::TreeObserverScope scope(&observer);
    EXPECT_EQ(ECANCELED, Move("tree", "other/moved")) << last;
    EXPECT_TRUE(fs::is_empty(In("other"))) << last;
  }
  EXPECT_EQ(before, Describe(In("tree")));
}

}  // namespace
