#include "platform/darwin/paths/Changes.h"

#include <fcntl.h>

#include <cmath>
#include <ctime>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

/// EINVAL for NaN, infinities and what lies beyond the kernel's range.
Error TimeFromMilliseconds(double milliseconds, std::timespec& time) {
  // A double of today's dates is exact to a quarter of a microsecond; digits beyond that are noise.
  constexpr long long kMicrosecondsPerSecond = 1'000'000;
  constexpr double kMostMicroseconds = 9e18;
  const double asked = milliseconds * 1e3;
  if (!(std::abs(asked) <= kMostMicroseconds)) return EINVAL;

  const long long microseconds = std::llround(asked);
  // Before 1970 the remainder is negative, but a nanosecond count may not be (utimensat(2)).
  const long long remainder = microseconds % kMicrosecondsPerSecond;
  const long long fraction = remainder < 0 ? remainder + kMicrosecondsPerSecond : remainder;
  time = {(microseconds - fraction) / kMicrosecondsPerSecond, fraction * 1000};
  return {};
}

}  // namespace

Error SetModificationTime(const char* path, double milliseconds) {
  std::timespec modified;
  if (const Error error = TimeFromMilliseconds(milliseconds, modified)) return error;
  return OnPath(path, [&modified](const char* name) -> Error {
    // Not UTIME_OMIT: some FUSE file systems take a single time, say yes, and set nothing.
    ItemStatus status;
    if (const Error error = GetStatusOf(AT_FDCWD, name, FinalLink::kTarget, status)) return error;
    return SetTimesOf(AT_FDCWD, name, {status.accessed, modified});
  });
}

Error SetReadOnly(const char* path, bool readOnly) {
  FileDescriptor item;
  const auto open = [&item](const char* name) { return Open(AT_FDCWD, name, O_PATH, item); };
  if (const Error error = OnPath(path, open)) return error;
  ItemStatus status;
  if (const Error error = GetStatus(item.get(), status)) return error;

  constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
  const mode_t before = status.Permissions();
  return ChangeMode({item.get(), true}, readOnly ? before & ~kAnyWrite : before | S_IWUSR);
}

Error RemoveFile(const char* path) {
  const Error error = OnPath(path, [](const char* name) { return Unlink(AT_FDCWD, name); });
  return error == EISDIR ? EPERM : error;
}

Error RemoveDirectory(const char* path) {
  const Error error = OnPath(path, [](const char* name) { return Unlink(AT_FDCWD, name, AT_REMOVEDIR); });
  return error == EEXIST ? ENOTEMPTY : error;  // POSIX allows a file system either
}

Error SetCurrentDirectory(const char* path) { return OnPath(path, ChangeCurrentDirectory); }

}  // namespace quill::darwin
