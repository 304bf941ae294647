// Ensuring a directory chain: what new levels get, and what is refused.

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "tests/osx/ChangedTree.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using DirectoriesTest = ChangedTreeTest;

TEST_F(DirectoriesTest, EnsureCreatesWhatIsMissingAsTheParentIs) {
  EXPECT_EQ(::geteuid() == 0, ::chown(In("empty").c_str(), 12, 34) == 0);
  ASSERT_EQ(0, ::chmod(In("empty").c_str(), 02750));
  EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(At("empty/a/b/../c/"))));
  const auto ownership = [this](const char* name) {
    struct stat status {};
    EXPECT_EQ(0, ::stat(In(name).c_str(), &status)) << name;
    return std::tuple(status.st_mode, status.st_uid, status.st_gid);
  };
  for (const char* name : {"empty/a", "empty/a/b", "empty/a/c"}) EXPECT_EQ(ownership("empty"), ownership(name)) << name;
  EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(At("link/below"))));
  EXPECT_TRUE(There("full/below"));
  EXPECT_EQ("false, nothing", Outcome(manager.DirEnsure(At("file"))));
  EXPECT_EQ("false, nothing", Outcome(manager.DirEnsure(At("file/below"))));
  EXPECT_EQ("false, 3011 recorded", Outcome(manager.DirEnsure(At("dangling/below"))));
  EXPECT_EQ("false, 3000 recorded", Outcome(manager.DirEnsure(At("new/" + std::string(300, 'x')))));
  EXPECT_TRUE(There("new"));
}

TEST_F(DirectoriesTest, EnsureHandsDownWhatItMayWhenTheRestIsRefused) {
  // What an ordinary user makes in it starts out in another group than the user's own.
  EXPECT_EQ(::geteuid() == 0, ::chown(In("empty").c_str(), 0, 12345) == 0);
  ASSERT_EQ(0, ::chmod(In("empty").c_str(), 01777));
  quill_test::AsOrdinaryUser(Root(), [this] {
    const ::mode_t before = ::umask(0777);
    EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(At("empty/a/b"))));
    ::umask(before);
    for (const char* name : {"empty/a", "empty/a/b"})
      EXPECT_EQ(fs::perms(01777), fs::status(In(name)).permissions()) << name;
  });
}

// The mask of an access list stands where the rights of the group do, and was handed down as these.
TEST_F(DirectoriesTest, EnsureGivesTheGroupWhatTheAccessListLeavesIt) {
  // A POSIX.1e list as Linux stores it: the owner rwx, uid 65534 rwx, the group -wx, the mask r-x, others nothing.
  constexpr unsigned char kList[] = {2, 0,   0,   0,   1,   0,   7,  0, 255, 255, 255, 255, 2,   0,  7,
                                     0, 254, 255, 0,   0,   4,   0,  3, 0,   255, 255, 255, 255, 16, 0,
                                     5, 0,   255, 255, 255, 255, 32, 0, 0,   0,   255, 255, 255, 255};
  if (::setxattr(In("empty").c_str(), "system.posix_acl_access", kList, sizeof kList, 0) != 0)
    GTEST_SKIP() << "no access lists here";
  EXPECT_EQ("true, nothing", Outcome(manager.DirEnsure(At("empty/a/b"))));
  for (const char* name : {"empty/a", "empty/a/b"}) EXPECT_EQ(0710U, ModeOf(In(name))) << name;
}

TEST_F(DirectoriesTest, ManagersOfTwoThreadsShareNothing) {
  const auto work = [this](const std::string& own) {
    RecordingManager host;
    for (int chain = 0; chain < 100; ++chain) {
      const std::string ensured = "chain" + std::to_string(chain), copy = ensured + own;
      EXPECT_TRUE(host.DirEnsure(At(ensured + "/a/b/c/d"))) << host.Reason();
      EXPECT_TRUE(host.FileOrDirCopy(At("full"), At(copy), false) && host.DirDeleteWithContents(At(copy)));
    }
  };
  std::thread one(work, "one"), other(work, "other");
  one.join();
  other.join();
}

}  // namespace
}  // namespace quill_test
