#include "platform/darwin/paths/VolumeStatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>

#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

int GetVolume(const char* path, struct ::statvfs& volume) {
  const auto ask = [&volume](const char* item) { return Retry([&] { return ::statvfs(item, &volume); }); };
  return OnItem(path, ask) == 0 ? 0 : errno;
}

}  // namespace

int GetVolumeSpace(const char* path, VolumeSpace& space) {
  struct ::statvfs volume;
  if (const int error = GetVolume(path, volume); error != 0) return error;
  const auto unit = static_cast<double>(volume.f_frsize);
  space = {static_cast<double>(volume.f_blocks) * unit, static_cast<double>(volume.f_bavail) * unit};
  return 0;
}

int IsReadOnlyVolume(const char* path, bool& readOnly) {
  struct ::statvfs volume;
  if (const int error = GetVolume(path, volume); error != 0) return error;
  readOnly = (volume.f_flag & ST_RDONLY) != 0;
  return 0;
}

// The devices of one volume's directories may differ (overlay), so the kernel is asked for the mount itself.
int VolumeRoot(const char* path, std::string& root) {
  for (std::string directory = path;;) {
    struct ::statx status;
    const int result = OnItem(directory.c_str(), [&status](const char* item) {
      return ::statx(AT_FDCWD, item, AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status);
    });
    if (result != 0) return errno;
    const std::size_t separator = directory.find_last_of('/');
    const bool isTop = separator == std::string::npos || directory == "/";
    if (isTop || (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) {
      root = directory;
      return 0;
    }
    directory.erase(separator == 0 ? 1 : separator);
  }
}

}  // namespace quill::darwin
