#include "tests/support/Snapshot.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

namespace quill_test {
namespace {

using Twins = std::map<std::pair<dev_t, ino_t>, std::string>;

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes = (std::ostringstream() << file.rdbuf()).str();
  if (bytes.size() < 200) return "\"" + bytes + "\"";
  return std::to_string(bytes.size()) + " bytes, hash " + std::to_string(std::hash<std::string>{}(bytes));
}

std::string Attributes(const std::string& path) {
  char names[2048];
  const ssize_t size = ::llistxattr(path.c_str(), names, sizeof names);
  std::map<std::string, std::string> found;
  for (ssize_t at = 0; at < size; at += static_cast<ssize_t>(std::string_view(names + at).size()) + 1) {
    if (std::string_view(names + at).starts_with("trusted.SGI_ACL")) continue;  // XFS shows an ACL a second time
    char value[1024];
    const ssize_t length = ::lgetxattr(path.c_str(), names + at, value, sizeof value);
    found[names + at] = std::string(value, length < 0 ? 0 : static_cast<std::size_t>(length));
  }
  std::string text;
  for (const auto& [name, value] : found) text += " " + name + "=" + std::to_string(std::hash<std::string>{}(value));
  return text;
}

std::string Substance(const std::string& path, const struct stat& status) {
  if (S_ISDIR(status.st_mode)) return "directory";
  if (S_ISREG(status.st_mode)) return "file " + Bytes(path);
  if (S_ISLNK(status.st_mode)) return "link to " + std::filesystem::read_symlink(path).string();
  return "special " + std::to_string(status.st_mode & S_IFMT) + " " + std::to_string(status.st_rdev);
}

// Asked of the file itself: its count of blocks changes by itself while the system writes back what was cached.
off_t DataSize(const std::string& path, off_t size) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), std::fclose);
  if (!file) return size;
  off_t total = 0;
  for (off_t end = 0; end < size;) {
    const off_t start = ::lseek(::fileno(file.get()), end, SEEK_DATA);
    if (start < 0) return errno == ENXIO ? total : size;
    end = ::lseek(::fileno(file.get()), start, SEEK_HOLE);
    if (end < 0) return size;
    total += end - start;
  }
  return total;
}

std::string Metadata(const std::string& path, const struct stat& status, const std::string& twin) {
  std::ostringstream text;
  if (!S_ISLNK(status.st_mode)) text << "mode " << std::oct << (status.st_mode & 07777U) << std::dec << ' ';
  text << "owner " << status.st_uid << ':' << status.st_gid << " modified " << status.st_mtim.tv_sec << '.'
       << status.st_mtim.tv_nsec << Attributes(path);
  if (S_ISREG(status.st_mode) && DataSize(path, status.st_size) < status.st_size / 4) text << " mostly holes";
  if (!twin.empty()) text << " same as " << twin;
  return text.str();
}

std::string Identity(const struct stat& status) {
  return "inode " + std::to_string(status.st_ino) + " changed " + std::to_string(status.st_ctim.tv_sec) + "." +
         std::to_string(status.st_ctim.tv_nsec);
}

void Add(const std::string& root, const std::string& relative, Twins& twins, Snapshot& snapshot) {
  const std::string path = relative.empty() ? root : root + "/" + relative;
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return;
  const bool isDirectory = S_ISDIR(status.st_mode);
  std::string twin;
  if (!isDirectory) {  // even if its link count is 1: FUSE caches an old count for a second
    const auto [first, isFirst] = twins.try_emplace({status.st_dev, status.st_ino}, relative);
    if (!isFirst) twin = first->second;
  }
  snapshot[relative] = {Substance(path, status), Metadata(path, status, twin), Identity(status)};
  if (!isDirectory) return;
  std::error_code ignored;  // a directory that may not be read counts as empty
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path, ignored)) names.insert(entry.path().filename());
  for (const auto& name : names) Add(root, relative.empty() ? name : relative + "/" + name, twins, snapshot);
}

std::string Text(const Item& item, Scope scope) {
  std::string text = item.substance;
  if (scope != Scope::kSubstance) text += ", " + item.metadata;
  if (scope == Scope::kIdentity) text += ", " + item.identity;
  return text;
}

}  // namespace

Snapshot Describe(const std::string& root) {
  Snapshot snapshot;
  Twins twins;
  Add(root, "", twins, snapshot);
  return snapshot;
}

std::string Difference(const Snapshot& expected, const Snapshot& actual, Scope scope) {
  std::string differences;
  for (const auto& [path, item] : expected) {
    const auto found = actual.find(path);
    const std::string wanted = Text(item, scope);
    const std::string there = found == actual.end() ? "nothing" : Text(found->second, scope);
    if (wanted != there) differences += " [/" + path + ": " + there + " instead of " + wanted + "]";
  }
  for (const auto& [path, item] : actual)
    if (!expected.contains(path)) differences += " [/" + path + ": " + Text(item, scope) + " instead of nothing]";
  return differences;
}

bool IsPartOf(const Snapshot& actual, const Snapshot& expected) {
  for (const auto& [path, item] : actual) {
    const auto found = expected.find(path);
    if (found == expected.end() || found->second.substance != item.substance) return false;
  }
  return true;
}

}  // namespace quill_test
