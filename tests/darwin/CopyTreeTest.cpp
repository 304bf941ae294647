#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <new>

#include "platform/darwin/Trees.h"
#include "tests/darwin/RecordingObserver.h"
#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"
#include "tests/support/Trees.h"

namespace {

using namespace quill_test;
namespace fs = std::filesystem;

class CopyTree : public DirectoryTest {
 protected:
  int Copy(const std::string& from, const std::string& to) {
    return darwin::CopyTree(In(from).c_str(), In(to).c_str());
  }
  std::ptrdiff_t CountItems() { return std::distance(fs::directory_iterator(Root()), fs::directory_iterator()); }
  mode_t ModeOf(const std::string& name) {
    struct stat status {};
    EXPECT_EQ(0, ::lstat(In(name).c_str(), &status)) << name;
    return status.st_mode & 07777;
  }
};

TEST_F(CopyTree, KeepsEverything) {
  MakeMixedTree(In("tree"));
  ASSERT_EQ(0, ::chmod(In("tree").c_str(), 0555));
  RecordingObserver observer;
  const darwin::TreeObserverScope scope(&observer);
  for (const char* part : {"", "/file", "/dangling", "/d/fifo", "/socket", "/d/holes", "/d"}) {
    ASSERT_EQ(0, Copy(std::string("tree") + part, "copy")) << part;
    EXPECT_EQ(Describe(In("tree") + part), Describe(In("copy"))) << part;
    fs::remove_all(In("copy"));
  }
  EXPECT_TRUE(observer.notKept.empty()) << observer.notKept.front();
  EXPECT_EQ(1, CountItems());
}

TEST_F(CopyTree, RefusesWithoutAChange) {
  for (const char* name : {"tree/inside", "other"}) fs::create_directories(In(name));
  WriteFile(In("file"), "contents");
  fs::create_hard_link(In("file"), In("same"));
  fs::create_directory_symlink("tree/inside", In("link"));
  fs::create_symlink("nowhere", In("dangling"));
  WriteFile(In("e\xcc\x81"), "");  // decomposed
  const auto before = Describe(Root());
  const struct {
    const char* from;
    const char* to;
    int error;
  } rows[] = {
      {"missing", "new", ENOENT},      {"file", "tree", EEXIST},       {"file", "dangling", EEXIST},
      {"file", "dangling/", EEXIST},   {"file", "file", EEXIST},       {"file", "same", EEXIST},
      {"tree", "tree", EEXIST},        {"tree", "tree/new", EINVAL},   {"tree", "tree/inside/../new", EINVAL},
      {"tree", "link/new", EINVAL},    {"tree/.", "tree/new", EINVAL}, {".", "new", EINVAL},
      {"tree", "missing/new", ENOENT}, {"tree", "file/new", ENOTDIR},  {"file", "new/", ENOTDIR},
      {"file/", "new", ENOTDIR},       {"link/", "new", ENOTDIR},      {"link/.", "new", ENOTDIR},
      {"dangling/", "new", ENOTDIR},   {"file", "\xc3\xa9", EEXIST},   {"tree", "other/.", EEXIST},
      {"tree", "other/..", EEXIST},    {"tree", "new/.", ENOENT},
  };
  for (const auto& [from, to, error] : rows) EXPECT_EQ(error, Copy(from, to)) << from << " to " << to;
  EXPECT_EQ(EINVAL, darwin::CopyTree("/", In("new").c_str()));
  EXPECT_EQ(EEXIST, darwin::CopyTree(In("tree").c_str(), "/"));
  EXPECT_EQ(ENOENT, darwin::CopyTree("", In("new").c_str()));
  EXPECT_EQ(ENOENT, darwin::CopyTree(In("tree").c_str(), ""));
  EXPECT_EQ(before, Describe(Root()));
}

TEST_F(CopyTree, TakesNameAsItIsMeant) {
  fs::create_directories(In("tree/e\xcc\x81"));
  fs::create_directory_symlink("tree", In("link"));
  EXPECT_EQ(0, Copy("tree/\xc3\xa9/", "composed"));  // found in the other normalization
  EXPECT_EQ(0, Copy("tree/.", "dot/"));
  EXPECT_EQ(0, Copy("link/e\xcc\x81/..", "dots"));
  EXPECT_EQ(0, Copy("link", "link2"));
  EXPECT_EQ(Describe(In("tree")), Describe(In("dot")));
  EXPECT_EQ(Describe(In("tree")), Describe(In("dots")));
  EXPECT_EQ("tree", fs::read_symlink(In("link2")));
}

TEST_F(CopyTree, LeavesNothingWhenItIsStoppedOrAbandoned) {
  MakeMixedTree(In("tree"));
  std::uint64_t last = 1;
  for (int error = ECANCELED; error != 0; ++last) {
    RecordingObserver observer;
    observer.meddle = [last](const darwin::TreeProgress& done) {
      if (done.items >= last && last % 2 == 0) throw std::bad_alloc();
      return done.items < last;
    };
    const darwin::TreeObserverScope scope(&observer);
    try {
      error = Copy("tree", "copy");
      EXPECT_TRUE(error == 0 || error == ECANCELED) << error;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(0U, last % 2);
    }
    EXPECT_EQ(error == 0 ? 2 : 1, CountItems()) << last;
  }
  EXPECT_GT(last, 10U);
}

TEST_F(CopyTree, ReadsToTheEndWhateverSizeIsClaimed) {
  ASSERT_EQ(0, darwin::CopyTree("/proc/cpuinfo", In("copy").c_str()));
  EXPECT_GT(fs::file_size(In("copy")), 0U);
  WriteFile(In("large"), std::string(3 * 256 * 1024, 'x'));  // whole buffers
  ASSERT_EQ(0, Copy("large", "copy2"));
  EXPECT_EQ(Contents(In("large")), Contents(In("copy2")));
}

TEST_F(CopyTree, WorksForAnOrdinaryUser) {
  ASSERT_EQ(0, ::mkdir(In("foreign").c_str(), 0755));
  WriteFile(In("foreign/setuid"), "");
  ASSERT_EQ(0, ::chmod(In("foreign/setuid").c_str(), 06755));
  const bool isForeign = ::geteuid() == 0;
  AsOrdinaryUser(Root(), [&] {
    MakeMixedTree(In("tree"));
    ASSERT_EQ(0, ::chmod(In("tree").c_str(), 0555));
    for (const mode_t mask : {022U, 0777U}) {
      ::umask(mask);
      ASSERT_EQ(0, Copy("tree", "copy")) << mask;
      EXPECT_EQ(Describe(In("tree")), Describe(In("copy"))) << mask;
      for (const char* name : {"copy", "copy/d/read-only"}) ASSERT_EQ(0, ::chmod(In(name).c_str(), 0755));
      fs::remove_all(In("copy"));
    }
    RecordingObserver observer;
    const darwin::TreeObserverScope scope(&observer);
    ASSERT_EQ(0, Copy("foreign", "copy"));
    EXPECT_EQ(isForeign ? 0755U : 06755U, ModeOf("copy/setuid"));
    EXPECT_EQ(isForeign ? 2U : 0U, observer.notKept.size());

    WriteFile(In("foreign2"), "");
    ASSERT_EQ(0, ::chmod(In("foreign2").c_str(), 0));
    ASSERT_EQ(0, ::chmod(In("tree").c_str(), 0755));
    fs::rename(In("foreign2"), In("tree/d/unreadable"));
    const auto count = CountItems();
    EXPECT_EQ(EACCES, Copy("tree", "copy2"));
    EXPECT_EQ(count, CountItems());
    EXPECT_EQ("d/unreadable", observer.failures.at(0).first);
    for (const char* name : {"tree", "tree/d/read-only"}) ASSERT_EQ(0, ::chmod(In(name).c_str(), 0755));
  });
}

// The directory's default access control list would open every new item in it to another user.
TEST_F(CopyTree, InheritsNoAccess) {
  const unsigned char list[] = {2, 0,    0,    0,    1,    0,    7,    0, 0xff, 0xff, 0xff, 0xff, 2,    0,    7,
                                0, 0xe7, 3,    0,    0,    4,    0,    5, 0,    0xff, 0xff, 0xff, 0xff, 0x10, 0,
                                7, 0,    0xff, 0xff, 0xff, 0xff, 0x20, 0, 5,    0,    0xff, 0xff, 0xff, 0xff};
  MakeMixedTree(In("tree"));
  fs::create_directory(In("open"));
  if (::setxattr(In("open").c_str(), "system.posix_acl_default", list, sizeof list, 0) != 0) {
    GTEST_SKIP() << "no access control lists here";
  }
  for (const char* part : {"", "/file"}) {
    ASSERT_EQ(0, Copy(std::string("tree") + part, "open/copy"));
    EXPECT_EQ(Describe(In("tree") + part), Describe(In("open/copy")));
    fs::remove_all(In("open/copy"));
  }
  ASSERT_EQ(0, Copy("open", "open2"));
  EXPECT_EQ(Describe(In("open")), Describe(In("open2")));
}

}  // namespace
