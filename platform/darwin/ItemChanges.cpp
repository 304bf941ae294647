#include "platform/darwin/ItemChanges.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <ctime>

#include "platform/darwin/ItemStatus.h"
#include "platform/darwin/NameLookup.h"

namespace darwin {

int SetModificationTime(const char* path, double milliseconds) {
  // A double of today's dates is exact to a quarter of a microsecond; digits beyond that are noise.
  constexpr long long kMicrosecondsPerSecond = 1'000'000;
  constexpr double kMostMicroseconds = 9e18;
  const double asked = milliseconds * 1e3;
  if (!(std::abs(asked) <= kMostMicroseconds)) return EINVAL;  // NaN and infinities too

  const long long microseconds = std::llround(asked);
  const long long remainder = microseconds % kMicrosecondsPerSecond;
  const long long fraction = remainder < 0 ? remainder + kMicrosecondsPerSecond : remainder;
  const std::timespec times[] = {{0, UTIME_OMIT},
                                 {(microseconds - fraction) / kMicrosecondsPerSecond, fraction * 1000}};
  return OnItem(path, [&times](const char* item) { return ::utimensat(AT_FDCWD, item, times, 0); }) == 0 ? 0 : errno;
}

int SetReadOnly(const char* path, bool readOnly) {
  constexpr ::mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
  constexpr ::mode_t kPermissions = 07777;

  ItemStatus status;
  if (const int error = GetItemStatus(path, FinalLink::kTarget, status); error != 0) return error;
  const ::mode_t before = status.mode & kPermissions;
  const ::mode_t after = readOnly ? before & ~kAnyWrite : before | S_IWUSR;
  return OnItem(path, [after](const char* item) { return ::chmod(item, after); }) == 0 ? 0 : errno;
}

}  // namespace darwin
