#include "platform/darwin/PlaceItem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "platform/darwin/FileDescriptor.h"
#include "platform/darwin/Retry.h"

namespace darwin {
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

int Claim(int directory, const char* name, bool asDirectory) {
  if (asDirectory) return Retry([&] { return ::mkdirat(directory, name, S_IRWXU); }) == 0 ? 0 : errno;
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  return FileDescriptor(Retry([&] { return ::openat(directory, name, kFlags, S_IRUSR | S_IWUSR); })) ? 0 : errno;
}

int RenameOverClaim(int fromDirectory, const char* from, int toDirectory, const char* to, bool isDirectory) {
  if (const int error = Claim(toDirectory, to, isDirectory)) return error;
  if (Retry([&] { return ::renameat(fromDirectory, from, toDirectory, to); }) == 0) return 0;
  const int reason = errno;
  (void)Unlink(toDirectory, to, isDirectory ? AT_REMOVEDIR : 0);
  return reason;
}

}  // namespace

int RenameToFreeName(int fromDirectory, const char* from, int toDirectory, const char* to) {
  return Retry([&] { return ::renameat2(fromDirectory, from, toDirectory, to, RENAME_NOREPLACE); }) == 0 ? 0 : errno;
}

int PlaceItem(int fromDirectory, const char* from, int toDirectory, const char* to, bool isDirectory) {
  int error = RenameToFreeName(fromDirectory, from, toDirectory, to);
  if (error != EINVAL && error != ENOSYS) return error;
  if (!isDirectory) {
    error = LinkAndUnlink(fromDirectory, from, toDirectory, to);
    if (!LinksAreMissing(error)) return error;
  }
  return RenameOverClaim(fromDirectory, from, toDirectory, to, isDirectory);
}

}  // namespace darwin
