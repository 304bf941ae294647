#include "platform/darwin/descriptors/ItemStatus.h"

#include <fcntl.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <tuple>

#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

std::timespec Time(const struct statx_timestamp& stamp) noexcept { return {stamp.tv_sec, stamp.tv_nsec}; }

ItemStatus Translated(const struct statx& found) noexcept {
  ItemStatus status;
  status.device = makedev(found.stx_dev_major, found.stx_dev_minor);
  status.inode = found.stx_ino;
  status.size = found.stx_size;
  status.blocks = found.stx_blocks;
  status.accessed = Time(found.stx_atime);
  status.modified = Time(found.stx_mtime);
  status.changed = Time(found.stx_ctime);
  // Zero otherwise, which Created takes for unknown.
  if ((found.stx_mask & STATX_BTIME) != 0) status.born = Time(found.stx_btime);
  status.mode = found.stx_mode;
  status.owner = found.stx_uid;
  status.group = found.stx_gid;
  status.links = found.stx_nlink;
  status.deviceNumber = makedev(found.stx_rdev_major, found.stx_rdev_minor);
  status.isMountRoot = (found.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
  status.isEncrypted = (found.stx_attributes & STATX_ATTR_ENCRYPTED) != 0;
  // 0 before Linux 5.8: kernels clear the fields that they do not know.
  status.mount = found.stx_mnt_id;
  return status;
}

Error Get(int directory, const char* name, int flags, ItemStatus& status) noexcept {
  constexpr unsigned kWanted = STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID;
  struct statx found;
  if (const Error error = GetStatx(directory, name, flags, kWanted, found)) return error;
  status = Translated(found);
  return {};
}

}  // namespace

std::timespec ItemStatus::Created() const noexcept {
  const bool isKept = born.tv_sec != 0 || born.tv_nsec != 0;
  return isKept ? born : std::min({modified, changed, accessed}, IsEarlier);
}

bool IsEarlier(const std::timespec& left, const std::timespec& right) noexcept {
  return std::tie(left.tv_sec, left.tv_nsec) < std::tie(right.tv_sec, right.tv_nsec);
}

bool IsSameTime(const std::timespec& one, const std::timespec& other) noexcept {
  return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool MayChangeUnseen(const ItemStatus& status, const std::timespec& moment) noexcept {
  constexpr std::time_t kCoarsest = 2;  // seconds, on FAT
  if (status.changed.tv_nsec == 0) return status.changed.tv_sec > moment.tv_sec - kCoarsest;
  return !IsEarlier(status.changed, moment);
}

Error GetStatus(int descriptor, ItemStatus& status) noexcept { return Get(descriptor, "", AT_EMPTY_PATH, status); }

Error GetStatusOf(int directory, const char* name, FinalLink finalLink, ItemStatus& status) noexcept {
  return Get(directory, name, finalLink == FinalLink::kItself ? AT_SYMLINK_NOFOLLOW : 0, status);
}

// Climbs by "..", holding each directory open while it looks for the next: names play no part, so links cannot mislead
// it.
Error IsWithin(int directory, const ItemStatus& container, bool& within) noexcept {
  ItemStatus here;
  if (const Error error = GetStatus(directory, here)) return error;
  FileDescriptor place;
  for (;;) {
    within = here.IsSameAs(container);
    if (within) return {};
    FileDescriptor above;
    const int below = place.IsOpen() ? place.get() : directory;
    if (const Error error = Open(below, "..", O_PATH | O_DIRECTORY, above)) return error;
    ItemStatus next;
    if (const Error error = GetStatus(above.get(), next)) return error;
    // The root of a bind mount may have the same device and inode as the directory above it, but has another mount.
    if (next.IsSameAs(here) && next.mount == here.mount) return {};  // the root is its own parent
    place = std::move(above);
    here = next;
  }
}

}  // namespace quill::darwin
