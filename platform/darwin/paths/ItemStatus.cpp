#include "platform/darwin/paths/ItemStatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <tuple>

#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

constexpr unsigned kWanted = STATX_TYPE | STATX_MODE | STATX_UID | STATX_GID | STATX_SIZE | STATX_ATIME | STATX_MTIME |
                             STATX_CTIME | STATX_BTIME;

std::timespec Time(const struct statx_timestamp& stamp) noexcept {
  return {stamp.tv_sec, static_cast<long>(stamp.tv_nsec)};
}

std::timespec CreationTime(const struct statx& found) noexcept {
  if (found.stx_mask & STATX_BTIME) return Time(found.stx_btime);
  return std::min({Time(found.stx_mtime), Time(found.stx_ctime), Time(found.stx_atime)}, IsEarlier);
}

/// As stat does, it mounts nothing that an automounter only offers.
int Ask(int directory, const char* path, FinalLink finalLink, struct statx& found) noexcept {
  const int flags = AT_NO_AUTOMOUNT | (finalLink == FinalLink::kItself ? AT_SYMLINK_NOFOLLOW : 0);
  return ::statx(directory, path, flags, kWanted, &found);
}

ItemStatus Translated(const struct statx& found) noexcept {
  ItemStatus status;
  status.mode = found.stx_mode;
  status.owner = found.stx_uid;
  status.group = found.stx_gid;
  status.size = static_cast<long long>(found.stx_size);
  status.modified = Time(found.stx_mtime);
  status.created = CreationTime(found);
  return status;
}

}  // namespace

bool IsEarlier(const std::timespec& left, const std::timespec& right) noexcept {
  return std::tie(left.tv_sec, left.tv_nsec) < std::tie(right.tv_sec, right.tv_nsec);
}

bool ItemStatus::IsDirectory() const noexcept { return S_ISDIR(mode); }

bool ItemStatus::IsSymbolicLink() const noexcept { return S_ISLNK(mode); }

int GetItemStatus(const char* path, FinalLink finalLink, ItemStatus& status) {
  if (!path) return EFAULT;
  struct statx found;
  const auto ask = [&](const char* name) { return Ask(AT_FDCWD, name, finalLink, found); };
  if (OnItem(path, ask) != 0) return errno;
  status = Translated(found);
  return 0;
}

int GetItemStatusAt(int directory, const char* name, FinalLink finalLink, ItemStatus& status) noexcept {
  struct statx found;
  if (Ask(directory, name, finalLink, found) != 0) return errno;
  status = Translated(found);
  return 0;
}

bool MayAccess(const char* path, int mode) {
  return OnItem(path, [mode](const char* name) { return ::faccessat(AT_FDCWD, name, mode, AT_EACCESS); }) == 0;
}

int IsDirectory(const char* path, bool& isDirectory) {
  if (!path) return EFAULT;
  struct stat found;
  if (OnItem(path, [&](const char* name) { return ::stat(name, &found); }) != 0) return errno;
  isDirectory = S_ISDIR(found.st_mode);
  return 0;
}

bool IsDirectoryAt(int directory, const char* name) noexcept {
  struct stat found;
  return ::fstatat(directory, name, &found, 0) == 0 && S_ISDIR(found.st_mode);
}

}  // namespace quill::darwin
