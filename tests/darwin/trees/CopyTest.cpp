#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <new>

#include "platform/darwin/trees/Trees.h"
#include "tests/darwin/trees/RecordingObserver.h"
#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"
#include "tests/support/Snapshot.h"
#include "tests/support/Trees.h"

namespace {

using namespace quill_test;
namespace fs = std::filesystem;

class CopyTree : public DirectoryTest {
 protected:
  int Copy(const std::string& from, const std::string& to) {
    return quill::darwin::CopyTree(In(from).c_str(), In(to).c_str()).posix();
  }
  void ExpectWholeCopy(const std::string& from, const std::string& to) {
    EXPECT_EQ(0, Copy(from, to)) << from;
    EXPECT_EQ("", Difference(Describe(In(from)), Describe(In(to)))) << from;
    RemoveAll(In(to));
  }
  std::ptrdiff_t CountItems() { return std::distance(fs::directory_iterator(Root()), fs::directory_iterator()); }
};

TEST_F(CopyTree, KeepsEverything) {
  MakeMixedTree(In("tree"));
  ASSERT_EQ(0, ::chmod(In("tree").c_str(), 0555));
  RecordingObserver observer;
  const quill::darwin::TreeObserverScope scope(&observer);
  for (const char* part : {"", "/plain", "/dangling", "/fifo", "/socket", "/sparse", "/nested"})
    ExpectWholeCopy(std::string("tree") + part, "copy");
  EXPECT_TRUE(observer.notKept.empty()) << observer.notKept.front();
  EXPECT_EQ(1, CountItems());
}

TEST_F(CopyTree, TakesWhatComesWhileItIsAtWork) {
  MakeMixedTree(In("tree"));
  RecordingObserver observer;
  observer.meddle = [this](const quill::darwin::TreeProgress& done) {
    if (done.items == 1) WriteFile(In("tree/late"), "late bytes");
    return true;
  };
  const quill::darwin::TreeObserverScope scope(&observer);
  ExpectWholeCopy("tree", "copy");

  fs::create_directory(In("renamed"));
  const std::vector<std::string> names = {"a", "b", "c"};
  for (const auto& name : names) WriteFile(In("renamed/" + name), "");
  observer.meddle = [&](const quill::darwin::TreeProgress& done) {
    for (const auto& name : names)
      if (done.items == 1) fs::rename(In("renamed/" + name), In("renamed/new " + name));
    return true;
  };
  EXPECT_EQ(0, Copy("renamed", "copy of renamed"));
  for (const auto& name : names) EXPECT_TRUE(fs::exists(In("copy of renamed/new " + name))) << name;
}

// Reading it once more to see whether it had changed gave the copy the time of that reading.
TEST_F(CopyTree, KeepsTheTimeOfAccessOfADirectory) {
  fs::create_directory(In("tree"));
  const timespec times[] = {{1000, 0}, {2000, 0}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, In("tree").c_str(), times, 0));
  ASSERT_EQ(0, Copy("tree", "copy"));
  struct stat status {};
  ASSERT_EQ(0, ::stat(In("copy").c_str(), &status));
  EXPECT_EQ(1000, status.st_atim.tv_sec);
}

TEST_F(CopyTree, LeavesNothingWhenItIsStoppedOrAbandoned) {
  MakeMixedTree(In("tree"));
  std::uint64_t last = 1;
  for (int error = ECANCELED; error != 0; ++last) {
    RecordingObserver observer;
    observer.meddle = [last](const quill::darwin::TreeProgress& done) {
      if (done.items >= last && last % 2 == 0) throw std::bad_alloc();
      return done.items < last;
    };
    const quill::darwin::TreeObserverScope scope(&observer);
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

// More than 64 KiB of names cannot be listed, and nothing in such a directory could be copied.
TEST_F(CopyTree, GoesOnWithoutAttributesThatCannotBeListed) {
  fs::create_directory(In("other"));
  const Mount mount("tmpfs", In("other"), "");
  if (!mount) GTEST_SKIP() << mount.WhyNot();
  fs::create_directory(In("other/tree"));
  WriteFile(In("other/tree/file"), "contents");
  const bool hasList = GrantAccess(In("other/tree"), "system.posix_acl_access");
  for (int number = 100; number < 400; ++number) {
    const std::string name = "trusted." + std::string(240, 'n') + std::to_string(number);
    if (::setxattr(In("other/tree").c_str(), name.c_str(), "", 0, 0) != 0)
      GTEST_SKIP() << "no room for such attributes";
  }
  RecordingObserver observer;
  const quill::darwin::TreeObserverScope scope(&observer);
  ASSERT_EQ(0, Copy("other/tree", "other/copy"));
  EXPECT_EQ("contents", Contents(In("other/copy/file")));
  ASSERT_EQ(1U, observer.notKept.size());
  const std::string copy = In("other/copy");
  EXPECT_EQ(hasList, ::getxattr(copy.c_str(), "system.posix_acl_access", nullptr, 0) > 0);
}

// A leased file refuses to be opened without waiting, and ended the copy.
TEST_F(CopyTree, WaitsUntilALeaseIsGivenBack) {
  static int leased = -1;
  fs::create_directory(In("tree"));
  WriteFile(In("tree/file"), "contents");
  leased = ::open(In("tree/file").c_str(), O_RDONLY | O_CLOEXEC);
  struct sigaction giveBack {};
  giveBack.sa_handler = [](int) { (void)::fcntl(leased, F_SETLEASE, F_UNLCK); };
  struct sigaction before {};
  ASSERT_EQ(0, ::sigaction(SIGIO, &giveBack, &before));
  for (const char* part : {"tree", "tree/file"}) {
    if (::fcntl(leased, F_SETLEASE, F_WRLCK) != 0) break;
    ExpectWholeCopy(part, "copy");
  }
  ASSERT_EQ(0, ::sigaction(SIGIO, &before, nullptr));
  ::close(leased);
}

TEST_F(CopyTree, ReadsToTheEndWhateverSizeIsClaimed) {
  ASSERT_EQ(0, quill::darwin::CopyTree("/proc/cpuinfo", In("copy").c_str()));
  EXPECT_GT(fs::file_size(In("copy")), 0U);
}

TEST_F(CopyTree, NeedsNoPrivilege) {
  AsOrdinaryUser(Root(), [this] {
    MakeMixedTree(In("tree"));
    ASSERT_EQ(0, ::chmod(In("tree").c_str(), 0555));
    for (const mode_t mask : {0777U, 022U}) {
      ::umask(mask);
      ExpectWholeCopy("tree", "copy");
    }
    ASSERT_EQ(0, ::chmod(In("tree/nested/deep").c_str(), 0));
    RecordingObserver observer;
    const quill::darwin::TreeObserverScope scope(&observer);
    EXPECT_EQ(EACCES, Copy("tree", "copy"));
    EXPECT_EQ(1, CountItems());
    EXPECT_EQ("nested/deep", observer.failures.at(0).first);
  });
  RemoveAll(In("tree"));
}

TEST_F(CopyTree, DropsSetUserIDWithTheOwner) {
  ASSERT_EQ(0, ::mkdir(In("foreign").c_str(), 0755));
  WriteFile(In("foreign/setuid"), "");
  ASSERT_EQ(0, ::chmod(In("foreign/setuid").c_str(), 06755));
  const bool isForeign = ::geteuid() == 0;
  AsOrdinaryUser(Root(), [&] {
    RecordingObserver observer;
    const quill::darwin::TreeObserverScope scope(&observer);
    ASSERT_EQ(0, Copy("foreign", "copy"));
    struct stat status {};
    ASSERT_EQ(0, ::lstat(In("copy/setuid").c_str(), &status));
    EXPECT_EQ(isForeign ? 0755U : 06755U, status.st_mode & 07777);
    EXPECT_EQ(isForeign ? 2U : 0U, observer.notKept.size());
  });
}

// The hidden directory in which a copy is made may inherit a group that the items in it do not.
TEST_F(CopyTree, KeepsGroupsInADirectoryThatHandsDownItsOwn) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give files to any group";
  constexpr gid_t kGroup = 2345;
  MakeMixedTree(In("tree"));
  for (const auto& entry : fs::recursive_directory_iterator(In("tree"))) {
    ASSERT_EQ(0, ::lchown(entry.path().c_str(), 0, kGroup)) << entry.path();
  }
  fs::create_directory(In("shared"));
  ASSERT_EQ(0, ::chown(In("shared").c_str(), 0, kGroup));
  ASSERT_EQ(0, ::chmod(In("shared").c_str(), 02775));
  const mode_t before = ::umask(0);
  for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
    ::umask(mask);
    for (const char* part : {"", "/plain", "/dangling", "/fifo"})
      ExpectWholeCopy(std::string("tree") + part, "shared/copy");
  }
  ::umask(before);
}

// The directory's default access control list would open every new item in it to another user.
TEST_F(CopyTree, InheritsNoAccess) {
  MakeMixedTree(In("tree"));
  fs::create_directory(In("open"));
  if (!GrantAccess(In("open"), "system.posix_acl_default")) GTEST_SKIP() << "no access control lists here";
  for (const char* part : {"", "/special"}) ExpectWholeCopy(std::string("tree") + part, "open/copy");
  ExpectWholeCopy("open", "open2");
}

}  // namespace
