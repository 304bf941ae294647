#include "platform/darwin/trees/Placing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/Retry.h"

namespace quill::darwin {
namespace {

int Unlink(int directory, const char* name, int flags) {
  return Retry([&] { return ::unlinkat(directory, name, flags); }) == 0 ? 0 : errno;
}

bool LinksAreMissing(int error) {
  return error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == EMLINK || error == EXDEV;
}

int LinkAndUnlink(int fromDirectory, const char* from, int toDirectory, const char* to) {
  if (Retry([&] { return ::linkat(fromDirectory, from, toDirectory, to, 0); }) != 0) return errno;
  const int error = Unlink(fromDirectory, from, 0);
  if (error != 0) (void)Unlink(toDirectory, to, 0);  // back to the one name that it had
  return error;
}

int Claim(int directory, const char* name) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  return FileDescriptor(Retry([&] { return ::openat(directory, name, kFlags, S_IRUSR | S_IWUSR); })) ? 0 : errno;
}

int RenameOverClaim(int fromDirectory, const char* from, int toDirectory, const char* to) {
  if (const int error = Claim(toDirectory, to)) return error;
  if (Retry([&] { return ::renameat(fromDirectory, from, toDirectory, to); }) == 0) return 0;
  const int reason = errno;
  (void)Unlink(toDirectory, to, 0);
  return reason;
}

/// No directory is created first to claim the name: it would stay there if the program were killed. Of what others put
/// there after the question, the kernel lets a directory replace an empty directory alone.
int RenameDirectory(int fromDirectory, const char* from, int toDirectory, const char* to) {
  struct stat standing;
  if (::fstatat(toDirectory, to, &standing, AT_SYMLINK_NOFOLLOW) == 0) return EEXIST;
  if (errno != ENOENT) return errno;
  if (Retry([&] { return ::renameat(fromDirectory, from, toDirectory, to); }) == 0) return 0;
  return errno == ENOTDIR || errno == ENOTEMPTY ? EEXIST : errno;
}

}  // namespace

int RenameToFreeName(int fromDirectory, const char* from, int toDirectory, const char* to) {
  return Retry([&] { return ::renameat2(fromDirectory, from, toDirectory, to, RENAME_NOREPLACE); }) == 0 ? 0 : errno;
}

int PlaceItem(int fromDirectory, const char* from, int toDirectory, const char* to, bool isDirectory) {
  int error = RenameToFreeName(fromDirectory, from, toDirectory, to);
  if (error != EINVAL && error != ENOSYS) return error;
  if (isDirectory) return RenameDirectory(fromDirectory, from, toDirectory, to);
  error = LinkAndUnlink(fromDirectory, from, toDirectory, to);
  return LinksAreMissing(error) ? RenameOverClaim(fromDirectory, from, toDirectory, to) : error;
}

}  // namespace quill::darwin
