#include "platform/darwin/VolumeStatus.h"

#include <sys/statvfs.h>

#include <cerrno>

#include "platform/darwin/NameLookup.h"
#include "platform/darwin/Retry.h"

namespace darwin {
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

}  // namespace darwin
