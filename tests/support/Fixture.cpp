#include "tests/support/Fixture.h"

#include <dirent.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/Trees.h"

namespace quill_test {
namespace {

constexpr unsigned kNobody = 65534;

}  // namespace

QuillFileString Path(std::string_view text) {
  QuillFileString path;
  path.setUTF8(std::string(text).c_str());
  return path;
}

std::string Text(const QuillFileString& path) { return path.getUTF8() ? path.getUTF8() : "(none)"; }

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return (std::ostringstream() << file.rdbuf()).str();
}

void WriteFile(const std::string& path, std::string_view contents) {
  std::ofstream file(path, std::ios::binary);
  file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
  ASSERT_TRUE(file.flush()) << path;
}

unsigned ModeOf(const std::string& path) { return static_cast<unsigned>(std::filesystem::status(path).permissions()); }

std::string MakeNumberedDirectory(const std::string& base) {
  for (int number = ::getpid();; ++number) {
    const std::string name = base + "/quill-test." + std::to_string(number);
    if (::mkdir(name.c_str(), 0700) != 0 && errno == EEXIST) continue;
    return ::chmod(name.c_str(), 0755) == 0 ? name : "";
  }
}

int OpenDescriptors() {
  DIR* directory = ::opendir("/proc/self/fd");
  if (!directory) return -1;
  int count = -3;  // ".", ".." and the descriptor of the listing itself
  while (::readdir(directory)) ++count;
  ::closedir(directory);
  return count;
}

void AsOrdinaryUser(const std::string& directory, const std::function<void()>& body) {
  if (::geteuid() != 0) return body();
  ASSERT_EQ(0, ::chown(directory.c_str(), kNobody, kNobody));
  std::fflush(nullptr);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) ::_exit(2);
    [&]() noexcept { body(); }();  // an exception must not let the child go on to the next test
    std::fflush(nullptr);
    ::_exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "failed as an ordinary user, wait status " << status;
}

void DirectoryTest::SetUp() {
  const char* base = std::getenv("TMPDIR");
  root = MakeNumberedDirectory(base ? base : "/tmp");
  ASSERT_NE("", root) << std::strerror(errno);
  descriptorsBefore = OpenDescriptors();
}

void DirectoryTest::TearDown() {
  EXPECT_EQ(descriptorsBefore, OpenDescriptors()) << "a descriptor was left open";
  RemoveAll(root);
}

}  // namespace quill_test
