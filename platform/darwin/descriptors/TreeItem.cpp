#include "platform/darwin/descriptors/TreeItem.h"

#include <fcntl.h>
#include <sys/sysmacros.h>

#include "platform/darwin/descriptors/Retry.h"

namespace quill::darwin {
namespace {

std::timespec Time(const struct statx_timestamp& time) { return {time.tv_sec, time.tv_nsec}; }

int Read(int directory, const char* name, int flags, TreeItem& item) {
  struct statx status;
  constexpr unsigned kWanted = STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID;
  const auto call = [&] { return ::statx(directory, name, flags, kWanted, &status); };
  if (Retry(call) != 0) return errno;
  item.device = makedev(status.stx_dev_major, status.stx_dev_minor);
  item.inode = status.stx_ino;
  item.size = status.stx_size;
  item.blocks = status.stx_blocks;
  item.accessed = Time(status.stx_atime);
  item.modified = Time(status.stx_mtime);
  item.created = (status.stx_mask & STATX_BTIME) != 0 ? Time(status.stx_btime) : std::timespec{};
  item.mode = status.stx_mode;
  item.owner = status.stx_uid;
  item.group = status.stx_gid;
  item.links = status.stx_nlink;
  item.represents = makedev(status.stx_rdev_major, status.stx_rdev_minor);
  item.isMountRoot = (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
  item.mount = status.stx_mnt_id;
  return 0;
}

}  // namespace

int ReadItem(int directory, const char* name, TreeItem& item) {
  return Read(directory, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, item);
}

int ReadItem(int descriptor, TreeItem& item) { return Read(descriptor, "", AT_EMPTY_PATH, item); }

}  // namespace quill::darwin
