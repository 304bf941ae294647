#include "bench/BareTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "bench/Support.h"
#include "platform/darwin/descriptors/FileDescriptor.h"

namespace bench {
namespace {

using quill::darwin::FileDescriptor;

constexpr mode_t kPermissions = 07777;

struct CloseDirectory {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

FileDescriptor OpenAt(int directory, const char* name, int flags, mode_t mode = 0) {
  FileDescriptor file(::openat(directory, name, flags | O_CLOEXEC | O_NOFOLLOW, mode));
  Require(file.IsOpen(), name);
  return file;
}

struct stat StatusOf(int descriptor) {
  struct stat status;
  Require(::fstat(descriptor, &status) == 0, "fstat");
  return status;
}

void SetTimes(int descriptor, const struct stat& status) {
  const std::timespec times[2] = {status.st_atim, status.st_mtim};
  Require(::futimens(descriptor, times) == 0, "futimens");
}

std::vector<char>& Buffer(std::size_t size) {
  static std::vector<char> buffer;
  if (buffer.size() < size) buffer.resize(size);
  return buffer;
}

/// Calls \p visit with the descriptor of the directory and each of its entries.
template <typename Visit>
void ForEachEntry(int parent, const char* name, Visit visit) {
  FileDescriptor opened = OpenAt(parent, name, O_RDONLY | O_DIRECTORY);
  const std::unique_ptr<DIR, CloseDirectory> directory(::fdopendir(opened.get()));
  Require(directory != nullptr, "fdopendir");
  const int descriptor = opened.Release();
  while (const dirent* const entry = ::readdir(directory.get())) {
    const std::string_view entryName = entry->d_name;
    if (entryName != "." && entryName != "..") visit(descriptor, *entry);
  }
}

void CopyBytes(int from, int to, off_t begin, off_t end, std::size_t pieceSize) {
  auto& buffer = Buffer(pieceSize);
  while (begin < end) {
    const ssize_t got = ::pread(from, buffer.data(), std::min(pieceSize, static_cast<std::size_t>(end - begin)), begin);
    Require(got > 0 && ::pwrite(to, buffer.data(), static_cast<std::size_t>(got), begin) == got, "copying");
    begin += got;
  }
}

void CopySmallFile(int fromDirectory, int toDirectory, const char* name) {
  const auto from = OpenAt(fromDirectory, name, O_RDONLY);
  const auto status = StatusOf(from.get());
  auto to = OpenAt(toDirectory, name, O_WRONLY | O_CREAT | O_EXCL, status.st_mode & kPermissions);
  CopyBytes(from.get(), to.get(), 0, status.st_size, static_cast<std::size_t>(status.st_size));
  Require(::flistxattr(from.get(), nullptr, 0) == 0, "a file without extended attributes");
  SetTimes(to.get(), status);
  Require(to.Close() == 0, "close");
}

void CopyDirectory(int fromParent, const char* from, int toParent, const char* to) {
  struct stat status;
  Require(::fstatat(fromParent, from, &status, AT_SYMLINK_NOFOLLOW) == 0, "fstatat");
  Require(::mkdirat(toParent, to, status.st_mode & kPermissions) == 0, "mkdirat");
  const auto target = OpenAt(toParent, to, O_RDONLY | O_DIRECTORY);
  ForEachEntry(fromParent, from, [&](int source, const dirent& entry) {
    if (entry.d_type == DT_DIR) {
      CopyDirectory(source, entry.d_name, target.get(), entry.d_name);
    } else {
      CopySmallFile(source, target.get(), entry.d_name);
    }
  });
  SetTimes(target.get(), status);
}

void RemoveDirectory(int parent, const char* name) {
  ForEachEntry(parent, name, [](int directory, const dirent& entry) {
    if (entry.d_type == DT_DIR) return RemoveDirectory(directory, entry.d_name);
    Require(::unlinkat(directory, entry.d_name, 0) == 0, "unlinkat");
  });
  Require(::unlinkat(parent, name, AT_REMOVEDIR) == 0, "unlinkat");
}

}  // namespace

void CopyTreeByBareCalls(const char* from, const char* to) { CopyDirectory(AT_FDCWD, from, AT_FDCWD, to); }

void RemoveTreeByBareCalls(const char* path) { RemoveDirectory(AT_FDCWD, path); }

void CopyFileByBareCalls(const char* from, const char* to, std::size_t pieceSize) {
  const auto source = OpenAt(AT_FDCWD, from, O_RDONLY);
  const auto status = StatusOf(source.get());
  auto target = OpenAt(AT_FDCWD, to, O_WRONLY | O_CREAT | O_EXCL, status.st_mode & kPermissions);
  for (off_t end = 0; end < status.st_size;) {
    const off_t data = ::lseek(source.get(), end, SEEK_DATA);
    if (data < 0) break;  // a hole up to the end
    end = ::lseek(source.get(), data, SEEK_HOLE);
    CopyBytes(source.get(), target.get(), data, end, pieceSize);
  }
  Require(::ftruncate(target.get(), status.st_size) == 0, "ftruncate");
  SetTimes(target.get(), status);
  Require(target.Close() == 0, "close");
}

void EnsureByBareCalls(const char* path) {
  std::string level = path;
  for (std::size_t end = level.find('/', 1);; end = level.find('/', end + 1)) {
    const std::string prefix = level.substr(0, end);
    struct stat status;
    if (::mkdir(prefix.c_str(), 0777) != 0) Require(errno == EEXIST, "mkdir");
    Require(::stat(prefix.c_str(), &status) == 0, "stat");
    if (end == std::string::npos) return;
  }
}

}  // namespace bench
