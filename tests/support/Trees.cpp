#include "tests/support/Trees.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "tests/support/Fixture.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kNobody = 65534;
// A POSIX.1e list as Linux stores it: version 2, the owner, uid 65534, the group, the mask and others.
constexpr unsigned char kAccessList[] = {2, 0,   0,   0,   1,   0,   6,  0, 255, 255, 255, 255, 2,   0,  4,
                                         0, 254, 255, 0,   0,   4,   0,  4, 0,   255, 255, 255, 255, 16, 0,
                                         4, 0,   255, 255, 255, 255, 32, 0, 0,   0,   255, 255, 255, 255};

// Every item gets a distinct time, the same for all its names, since FUSE caches metadata by name for a second.
void Stamp(const std::string& path) {
  struct stat status {};
  ASSERT_EQ(0, ::lstat(path.c_str(), &status)) << path;
  const auto seconds = static_cast<time_t>(1'000'000'000 + status.st_ino % 10'000);
  const timespec times[] = {{seconds, 111'222'333}, {seconds, 987'654'321}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW)) << path;
}

void StampAll(const std::string& root) {
  std::vector<std::string> paths{root};
  for (const auto& entry : fs::recursive_directory_iterator(root)) paths.push_back(entry.path());
  for (auto path = paths.rbegin(); path != paths.rend(); ++path) Stamp(*path);
}

void MakeSparse(const std::string& path) {
  std::ofstream(path).seekp(128 << 10) << "middle";
  fs::resize_file(path, 256 << 10);
}

// Some file systems give each name of a file a separate inode number.
bool ShowsHardLinks(const std::string& directory) {
  const std::string one = directory + "/one";
  const std::string other = directory + "/other";
  WriteFile(one, "");
  std::error_code error;
  fs::create_hard_link(one, other, error);
  const bool same = !error && fs::equivalent(one, other);
  ::unlink(one.c_str());
  ::unlink(other.c_str());
  return same;
}

void MakeSocket(const std::string& directory) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  // Through the descriptor, because an address is limited in length, and the way back to the current directory may be
  // closed to this user.
  const int place = ::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/socket", place);
  const int file = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(0, ::bind(file, reinterpret_cast<sockaddr*>(&address), sizeof address));
  ::close(file);
  ::close(place);
}

}  // namespace

Abilities AbilitiesOf(const std::string& directory) {
  const std::string probe = directory + "/probe";
  WriteFile(probe, "");
  const bool keepsAttributes = ::setxattr(probe.c_str(), "user.probe", "1", 1, 0) == 0;
  const bool keepsLists = GrantAccess(probe, "system.posix_acl_access");
  ::unlink(probe.c_str());
  return {keepsAttributes, keepsLists, ShowsHardLinks(directory)};
}

void MakeSampleTree(const std::string& root, Abilities abilities) {
  fs::create_directories(root + "/nested/deep");
  fs::create_directories(root + "/empty");
  fs::create_directories(root + "/locked");
  WriteFile(root + "/plain", "plain bytes");
  WriteFile(root + "/nested/deep/leaf", "leaf bytes");
  WriteFile(root + "/locked/inside", "inside bytes");
  WriteFile(root + "/special", "special bytes");
  const std::string plain = root + "/plain";
  EXPECT_TRUE(!abilities.attributes || ::setxattr(plain.c_str(), "user.note", "remember", 8, 0) == 0);
  EXPECT_TRUE(!abilities.accessLists || GrantAccess(plain, "system.posix_acl_access"));
  if (abilities.hardLinks) fs::create_hard_link(root + "/plain", root + "/nested/twin");
  fs::create_symlink("plain", root + "/link");
  fs::create_symlink("nowhere", root + "/dangling");
  ASSERT_EQ(0, ::mkfifo((root + "/fifo").c_str(), 0600));
  MakeSparse(root + "/sparse");
  if (::geteuid() == 0) {
    ASSERT_EQ(0, ::chown((root + "/nested/deep/leaf").c_str(), kNobody, kNobody));
  }
  ASSERT_EQ(0, ::chmod((root + "/special").c_str(), 04751));
  ASSERT_EQ(0, ::chmod((root + "/nested").c_str(), 0700));
  StampAll(root);
  ASSERT_EQ(0, ::chmod((root + "/locked").c_str(), 0555));
}

void MakeMixedTree(const std::string& root) {
  MakeSampleTree(root, AbilitiesOf(fs::path(root).parent_path()));
  WriteFile(root + "/large", std::string(3 * 256 * 1024, 'x'));
  for (const std::string& name :
       {std::string("\xff\n\x01"), std::string(255, 'n'), std::string("\xc3\xa9"), std::string("e\xcc\x81")})
    WriteFile(root + "/" + name, name);
  fs::create_directory_symlink("/etc", root + "/outside");
  fs::create_symlink("loop", root + "/loop");
  MakeSocket(root);
  (void)::mknod((root + "/device").c_str(), S_IFCHR | 0600,
                makedev(1, 5));  // without permission the tree has no device
  Stamp(root);
}

bool GrantAccess(const std::string& path, const char* list) {
  return ::setxattr(path.c_str(), list, kAccessList, sizeof kAccessList, 0) == 0;
}

void RemoveAll(const std::string& path) {
  std::error_code error;
  fs::remove_all(path, error);
  if (!error) return;
  fs::permissions(path, fs::perms::owner_all, error);
  for (auto entry = fs::recursive_directory_iterator(path, fs::directory_options::skip_permission_denied, error);
       entry != fs::recursive_directory_iterator(); entry.increment(error))
    if (fs::is_directory(entry->symlink_status())) fs::permissions(entry->path(), fs::perms::owner_all, error);
  fs::remove_all(path, error);
  EXPECT_FALSE(error) << path << ": " << error.message();
}

}  // namespace quill_test
