#include "platform/darwin/paths/ItemChanges.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <ctime>

#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/paths/ItemStatus.h"

namespace quill::darwin {
namespace {

constexpr ::mode_t kPermissions = 07777;

// One call since Linux 6.6, where fchmodat2 takes the flag; before, the C library goes the long way.
int ChangeModeOfItself(const char* item, ::mode_t mode) {
  constexpr long kFchmodat2 = 452;  // the same number on every architecture that Debian supports
  const long result = ::syscall(kFchmodat2, AT_FDCWD, item, mode, AT_SYMLINK_NOFOLLOW);
  if (result == 0 || errno != ENOSYS) return static_cast<int>(result);
  return ::fchmodat(AT_FDCWD, item, mode, AT_SYMLINK_NOFOLLOW);
}

}  // namespace

int SetModificationTime(const char* path, double milliseconds) {
  // A double of today's dates is exact to a quarter of a microsecond; digits beyond that are noise.
  constexpr long long kMicrosecondsPerSecond = 1'000'000;
  constexpr double kMostMicroseconds = 9e18;
  const double asked = milliseconds * 1e3;
  if (!(std::abs(asked) <= kMostMicroseconds)) return EINVAL;  // NaN and infinities too

  const long long microseconds = std::llround(asked);
  const long long remainder = microseconds % kMicrosecondsPerSecond;
  const long long fraction = remainder < 0 ? remainder + kMicrosecondsPerSecond : remainder;
  const std::timespec modified{(microseconds - fraction) / kMicrosecondsPerSecond, fraction * 1000};
  // Not UTIME_OMIT: some FUSE file systems take a single time, say yes, and set nothing.
  const auto change = [&modified](const char* item) {
    struct stat status;
    if (::stat(item, &status) != 0) return -1;
    const std::timespec times[] = {status.st_atim, modified};
    return ::utimensat(AT_FDCWD, item, times, 0);
  };
  return OnItem(path, change) == 0 ? 0 : errno;
}

int SetPermissions(const char* path, FinalLink finalLink, unsigned permissions) {
  const auto change = [=](const char* item) {
    const ::mode_t mode = permissions & kPermissions;
    return finalLink == FinalLink::kTarget ? ::chmod(item, mode) : ChangeModeOfItself(item, mode);
  };
  return OnItem(path, change) == 0 ? 0 : errno;
}

int SetReadOnly(const char* path, bool readOnly) {
  constexpr ::mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;

  ItemStatus status;
  if (const int error = GetItemStatus(path, FinalLink::kTarget, status); error != 0) return error;
  const ::mode_t before = status.mode & kPermissions;
  const ::mode_t after = readOnly ? before & ~kAnyWrite : before | S_IWUSR;
  return SetPermissions(path, FinalLink::kTarget, after);
}

}  // namespace quill::darwin
