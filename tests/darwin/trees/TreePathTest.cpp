// Which paths copy, move and removal of trees take, and which they refuse: nothing is reached through a link that the
// bare name would not open, and nothing is replaced.
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "platform/darwin/trees/Trees.h"
#include "tests/support/Fixture.h"
#include "tests/support/Snapshot.h"
#include "tests/support/Trees.h"

namespace {

using namespace quill_test;
namespace fs = std::filesystem;

class TreePaths : public DirectoryTest {
 protected:
  void Build() {
    for (const auto& entry : fs::directory_iterator(Root())) RemoveAll(entry.path());
    for (const char* name : {"tree/inside", "other"}) fs::create_directories(In(name));
    WriteFile(In("file"), "contents");
    WriteFile(In("e\xcc\x81"), "");  // decomposed
    fs::create_hard_link(In("file"), In("same"));
    fs::create_directory_symlink("tree", In("link"));
    fs::create_symlink("file", In("file link"));
    fs::create_symlink("nowhere", In("dangling"));
    before = Describe(Root());
  }
  bool IsUnchanged() const { return Difference(before, Describe(Root())).empty(); }

  Snapshot before;
};

TEST_F(TreePaths, SourcesAreJudgedByTheEndOfThePath) {
  const struct {
    const char* path;
    int copied, moved, removed;
  } rows[] = {{"file", 0, 0, 0},
              {"file/", ENOTDIR, ENOTDIR, ENOTDIR},
              {"file/.", ENOTDIR, ENOTDIR, ENOTDIR},
              {"file/under", ENOTDIR, ENOTDIR, ENOTDIR},
              {"tree", 0, 0, 0},
              {"tree/", 0, 0, 0},
              {"tree//", 0, 0, 0},
              {"tree/.", 0, EINVAL, EINVAL},
              {"tree/inside/..", 0, EINVAL, EINVAL},
              {"link", 0, 0, 0},
              {"link/", ENOTDIR, ENOTDIR, ENOTDIR},
              {"link//", ENOTDIR, ENOTDIR, ENOTDIR},
              {"link/.", ENOTDIR, EINVAL, EINVAL},
              {"file link/", ENOTDIR, ENOTDIR, ENOTDIR},
              {"dangling", 0, 0, 0},
              {"dangling/", ENOTDIR, ENOTDIR, ENOTDIR},
              {"dangling/.", ENOTDIR, ENOENT, ENOENT},
              {"missing", ENOENT, ENOENT, ENOENT},
              {".", EINVAL, EINVAL, EINVAL}};
  for (const auto& [path, copied, moved, removed] : rows) {
    const std::string from = In(path), name = from.substr(0, from.find('/', Root().size() + 1));
    const auto judge = [&, path = path](int wanted, quill::darwin::Error error) {
      EXPECT_EQ(wanted, error) << path;
      EXPECT_TRUE(error == 0 ? !fs::exists(fs::symlink_status(name)) : IsUnchanged()) << path;
      Build();
    };
    Build();
    judge(removed, quill::darwin::RemoveTree(from.c_str()));
    judge(moved, quill::darwin::MoveTree(from.c_str(), In("new").c_str()));
    const auto source = Describe(from);
    EXPECT_EQ(copied, quill::darwin::CopyTree(from.c_str(), In("new").c_str())) << path;
    EXPECT_TRUE(copied == 0 ? Difference(source, Describe(In("new"))).empty() : IsUnchanged()) << path;
    EXPECT_TRUE(removed == 0 || fs::exists(In("tree/inside"))) << path;
  }
}

TEST_F(TreePaths, DestinationsAreFreeAndOutsideTheSource) {
  const struct {
    const char *from, *to;
    int error;
  } rows[] = {
      {"file", "tree", EEXIST},
      {"file", "dangling", EEXIST},
      {"file", "dangling/", EEXIST},
      {"file", "file", EEXIST},
      {"file", "same", EEXIST},
      {"file", "\xc3\xa9", EEXIST},
      {"tree", "tree", EEXIST},
      {"tree", "other", EEXIST},
      {"tree", "other/.", EEXIST},
      {"tree", "other/..", EEXIST},
      {"tree", "", EEXIST},
      {"tree", "tree/new", EINVAL},
      {"tree", "link/new", EINVAL},
      {"tree", "link/inside/new", EINVAL},
      {"tree", "tree/inside/../new", EINVAL},
      {"tree", "missing/new", ENOENT},
      {"tree", "new/.", ENOENT},
      {"tree", "file/new", ENOTDIR},
      {"file", "new/", ENOTDIR},
  };
  Build();
  for (const auto& [from, to, error] : rows) {
    EXPECT_EQ(error, quill::darwin::CopyTree(In(from).c_str(), In(to).c_str())) << from << " to " << to;
    EXPECT_EQ(error, quill::darwin::MoveTree(In(from).c_str(), In(to).c_str())) << from << " to " << to;
  }
  EXPECT_TRUE(IsUnchanged());
}

// In a root directory of its own, so that a fault takes nothing else away.
TEST_F(TreePaths, TheRootAndTheCurrentDirectoryStay) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can have a root directory of its own";
  using quill::darwin::CopyTree, quill::darwin::MoveTree, quill::darwin::RemoveTree;
  fs::create_directories(In("tree/inside"));
  const auto inOwnRoot = [this] {
    if (::chroot(Root().c_str()) != 0 || ::chdir("/tree") != 0) ::_exit(2);
    const std::vector<quill::darwin::Error> wanted{EBUSY, EBUSY, EINVAL, ENOENT, EBUSY, EINVAL, EEXIST, ENOENT, ENOENT};
    const std::vector<quill::darwin::Error> errors{
        RemoveTree("/"),        RemoveTree("//"),      RemoveTree("."),
        RemoveTree(""),         MoveTree("/", "/new"), CopyTree("/", "/new"),
        CopyTree("/tree", "/"), CopyTree("", "/new"),  CopyTree("/tree", "")};
    ::_exit(errors == wanted && fs::exists("/tree/inside") ? 0 : 1);
  };
  EXPECT_EXIT(inOwnRoot(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
