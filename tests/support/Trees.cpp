#include "tests/support/Trees.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <sstream>

#include "tests/support/Fixture.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

std::string Attributes(const std::string& path) {
  char names[4096];
  const ssize_t length = ::llistxattr(path.c_str(), names, sizeof names);
  std::map<std::string, std::string> values;
  for (ssize_t at = 0; at < length; at += static_cast<ssize_t>(std::strlen(names + at)) + 1) {
    char value[4096];
    const ssize_t size = ::lgetxattr(path.c_str(), names + at, value, sizeof value);
    values[names + at] = std::string(value, size < 0 ? 0 : static_cast<std::size_t>(size));
  }
  std::string all;
  for (const auto& [name, value] : values) all += " " + name + "=" + value;
  return all;
}

std::string DescribeItem(const std::string& path, std::map<ino_t, std::string>& firstNames, const std::string& name) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::strerror(errno);
  std::ostringstream text;
  text << std::oct << status.st_mode << std::dec << " " << status.st_uid << ":" << status.st_gid << " "
       << status.st_mtim.tv_sec << "." << status.st_mtim.tv_nsec << " " << status.st_rdev << Attributes(path);
  if (!S_ISDIR(status.st_mode)) text << " as " << firstNames.emplace(status.st_ino, name).first->second;
  if (S_ISLNK(status.st_mode)) text << " -> " << fs::read_symlink(path).native();
  if (S_ISREG(status.st_mode)) text << " holes:" << (status.st_blocks * 512 < status.st_size) << " " << Contents(path);
  return text.str();
}

void SetTimes(const std::string& path, time_t seconds) {
  const timespec times[] = {{seconds, 111111111}, {seconds, 123456789}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW)) << path;
}

void MakeSocket(const std::string& directory, const char* name) {
  // By a relative name: an address is short.
  const int here = ::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(0, ::chdir(directory.c_str()));
  const int file = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, name, sizeof address.sun_path - 1);
  EXPECT_EQ(0, ::bind(file, reinterpret_cast<sockaddr*>(&address), sizeof address));
  ::close(file);
  ASSERT_EQ(0, ::fchdir(here));
  ::close(here);
}

}  // namespace

std::map<std::string, std::string> Describe(const std::string& root) {
  std::map<std::string, std::string> items;
  std::map<ino_t, std::string> firstNames;
  std::map<std::string, std::string> paths{{"", root}};  // sorted: which name of a file comes first is always the same
  if (fs::is_directory(fs::symlink_status(root))) {
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      paths[entry.path().native().substr(root.size())] = entry.path().native();
    }
  }
  for (const auto& [name, path] : paths) items[name] = DescribeItem(path, firstNames, name);
  return items;
}

void MakeMixedTree(const std::string& root) {
  ASSERT_TRUE(fs::create_directories(root + "/d/read-only"));
  WriteFile(root + "/file", "contents");
  (void)::setxattr((root + "/file").c_str(), "user.quill-test", "value", 5, 0);  // where there are such attributes
  ASSERT_EQ(0, ::chmod((root + "/file").c_str(), 0640));
  SetTimes(root + "/file", 1000000000);
  fs::create_hard_link(root + "/file", root + "/d/other name");
  WriteFile(root + "/d/holes", "begin");
  fs::resize_file(root + "/d/holes", 1 << 20);
  WriteFile(root + "/d/large", std::string(700000, 'x'));
  WriteFile(root + "/d/\xff\n\x01", "not text");
  WriteFile(root + "/" + std::string(255, 'n'), "");
  fs::create_symlink("/nowhere", root + "/dangling");
  SetTimes(root + "/dangling", 5);
  fs::create_directory_symlink("/etc", root + "/d/outside");
  ASSERT_EQ(0, ::mkfifo((root + "/d/fifo").c_str(), 0620));
  MakeSocket(root, "socket");
  WriteFile(root + "/d/read-only/file", "kept");
  ASSERT_EQ(0, ::chmod((root + "/d/read-only").c_str(), 0555));
  SetTimes(root + "/d", 7);
}

void MakeDeepTree(const std::string& root, int levels) {
  ASSERT_EQ(0, ::mkdir(root.c_str(), 0755));
  int here = ::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::string name(20, 'd');
  for (int level = 0; level < levels; ++level) {
    ASSERT_EQ(0, ::mkdirat(here, name.c_str(), 0755));
    ::close(::openat(here, "file", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    const int next = ::openat(here, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(next, 0);
    ::close(here);
    here = next;
  }
  ::close(here);
}

}  // namespace quill_test
