#include <filesystem>
#include <fstream>
#include <optional>

#include "platform/darwin/trees/Trees.h"
#include "tests/darwin/trees/RecordingObserver.h"
#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"
#include "tests/support/Snapshot.h"
#include "tests/support/Trees.h"

namespace {

using namespace quill_test;
namespace fs = std::filesystem;

class MoveTree : public DirectoryTest {
 protected:
  int Move(const std::string& from, const std::string& to) {
    return quill::darwin::MoveTree(In(from).c_str(), In(to).c_str()).posix();
  }
};

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

 private:
  std::optional<Mount> mount;
};

/// Other contents of the same size, with the same date.
void RewriteUndated(const std::string& path) {
  const auto date = fs::last_write_time(path);
  WriteFile(path, std::string(fs::file_size(path), '!'));
  fs::last_write_time(path, date);
}

TEST_F(MoveTreeAcross, BringsEverything) {
  MakeMixedTree(In("tree"));
  for (const char* part : {"/dangling", "/large", "/fifo", ""}) {
    const std::string source = std::string("tree") + part;
    const auto before = Describe(In(source));
    ASSERT_EQ(0, Move(source, "other/moved")) << part;
    EXPECT_FALSE(fs::exists(fs::symlink_status(In(source)))) << part;
    ASSERT_EQ(0, Move("other/moved", source)) << part;
    EXPECT_EQ("", Difference(before, Describe(In(source)))) << part;
  }
  RemoveAll(In("tree"));
  EXPECT_EQ(2U, Describe(Root()).size()) << "more is left than the directory and the other one in it";
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
  EXPECT_EQ(6U, Describe(Root()).size()) << "something came or went";
}

// What appears or changes in the source while it is copied is not removed with it.
TEST_F(MoveTreeAcross, LosesNothingThatCameMeanwhile) {
  const struct {
    const char* kept;
    std::function<void(const std::string& source)> meddle;
  } rows[] = {
      {"new", [](const std::string& source) { WriteFile(source + "/new", "late"); }},
      {"empty/new/deep", [](const std::string& source) { fs::create_directories(source + "/empty/new/deep"); }},
      {"large", [](const std::string& source) { std::ofstream(source + "/large", std::ios::app) << "late"; }},
      // Its date says nothing when it is set back.
      {"nested/deep/leaf", [](const std::string& source) { RewriteUndated(source + "/nested/deep/leaf"); }},
      {"plain", [](const std::string& source) { RewriteUndated(source + "/nested/twin"); }},
  };
  for (const auto& [kept, meddle] : rows) {
    MakeMixedTree(In("tree"));
    fs::create_hard_link(In("tree/plain"), In("tree/nested/twin"));
    const auto count = Describe(In("tree")).size();
    RecordingObserver observer;
    observer.meddle = [&, meddle = meddle](const quill::darwin::TreeProgress& done) {
      if (done.items == count && done.itemsRemovedFromSource == 0) meddle(In("tree"));  // all has been copied
      return true;
    };
    const quill::darwin::TreeObserverScope scope(&observer);
    EXPECT_EQ(EBUSY, Move("tree", "other/moved")) << kept;
    EXPECT_EQ(count, Describe(In("other/moved")).size()) << kept;
    EXPECT_TRUE(fs::exists(In("tree") + "/" + kept)) << kept;
    EXPECT_FALSE(fs::exists(In("tree/dangling"))) << kept;
    for (const char* made : {"tree", "other/moved"}) RemoveAll(In(made));
  }
}

// Both succeeded, and one of them with a part of the tree.
TEST_F(MoveTreeAcross, FailsWhenSomebodyElseWasFaster) {
  for (const bool others : {false, true}) {
    for (std::uint64_t moment = 1;; ++moment) {
      MakeMixedTree(In("tree"));
      const auto count = Describe(In("tree")).size();
      if (moment > count) break;
      RecordingObserver observer;
      observer.meddle = [&](const quill::darwin::TreeProgress& done) {
        const quill::darwin::TreeObserverScope nobody(nullptr);
        if (done.items != moment || done.itemsRemovedFromSource != 0 || !fs::exists(In("tree"))) return true;
        if (others) RemoveAll(In("tree"));
        EXPECT_EQ(others ? ENOENT : 0, Move("tree", "other/two"));
        return true;
      };
      const quill::darwin::TreeObserverScope scope(&observer);
      EXPECT_EQ(ENOENT, Move("tree", "other/one")) << moment;
      EXPECT_FALSE(fs::exists(In("other/one"))) << moment;
      EXPECT_EQ(others ? 2U : 2U + count, Describe(Root()).size()) << moment << ": something is left";
      RemoveAll(In("other/two"));
    }
    RemoveAll(In("tree"));
  }
}

TEST_F(MoveTreeAcross, LosesNothingWhenTheRemovalOfTheSourceIsStopped) {
  MakeMixedTree(In("tree"));
  const auto count = Describe(In("tree")).size();
  RecordingObserver observer;
  observer.meddle = [](const quill::darwin::TreeProgress& done) { return done.itemsRemovedFromSource < 2; };
  const quill::darwin::TreeObserverScope scope(&observer);
  EXPECT_EQ(ECANCELED, Move("tree", "other/moved"));
  EXPECT_EQ(count, Describe(In("other/moved")).size());
  EXPECT_EQ(count - 2, Describe(In("tree")).size());
}

}  // namespace
