#include "platform/darwin/PathCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tests/support/Fixture.h"

namespace {

using PathCallsTest = quill_test::DirectoryTest;

constexpr const char* kDecomposed = "e\xCC\x81";
constexpr const char* kComposed = "\xC3\xA9";

TEST_F(PathCallsTest, NullPathsAreRefused) {
  char buffer[8];
  EXPECT_EQ(-1, darwin::unlink(nullptr));
  EXPECT_EQ(-1, darwin::rmdir(nullptr));
  EXPECT_EQ(-1, darwin::symlink(nullptr, "a"));
  EXPECT_EQ(-1, darwin::symlink("a", nullptr));
  EXPECT_EQ(-1, darwin::readlink(nullptr, buffer, sizeof buffer));
  EXPECT_EQ(-1, darwin::mkstemp(nullptr));
  EXPECT_EQ(nullptr, darwin::mkdtemp(nullptr));
  EXPECT_FALSE(darwin::IsSymbolicLink(nullptr));
  EXPECT_EQ(nullptr, darwin::freopen(nullptr, "w", stderr));
  EXPECT_EQ(EFAULT, errno);
}

TEST_F(PathCallsTest, TemporaryItemsAreMadeInADirectoryOfAnotherForm) {
  ASSERT_EQ(0, ::mkdir(In(kDecomposed).c_str(), 0777));
  for (const auto* form : {kComposed, kDecomposed}) {
    std::string path = In(form) + "/t.XXXXXX";
    const int descriptor = darwin::mkstemp(path.data());
    ASSERT_NE(-1, descriptor) << form;
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(descriptor, F_GETFD));
    EXPECT_EQ(0, darwin::close(descriptor));
    EXPECT_EQ(0, path.find(In(form) + "/t.")) << path;
    EXPECT_EQ(0, darwin::unlink(path.c_str())) << path;

    std::string directory = In(form) + "/d.XXXXXX";
    ASSERT_EQ(directory.data(), darwin::mkdtemp(directory.data()));
    EXPECT_EQ(0, darwin::rmdir(directory.c_str())) << directory;
  }
  std::string nowhere = In("missing") + "/t.XXXXXX";
  EXPECT_EQ(-1, darwin::mkstemp(nowhere.data()));
  EXPECT_EQ(ENOENT, errno);
}

}  // namespace
