#include "platform/darwin/VolumeStatus.h"

#include <sys/statvfs.h>

#include <cerrno>

#include "platform/darwin/NameLookup.h"
#include "platform/darwin/Retry.h"

namespace darwin {

int IsReadOnlyVolume(const char* path, bool& readOnly) {
  struct ::statvfs volume;
  const int result =
      OnItem(path, [&volume](const char* item) { return Retry([&] { return ::statvfs(item, &volume); }); });
  if (result != 0) return errno;
  readOnly = (volume.f_flag & ST_RDONLY) != 0;
  return 0;
}

}  // namespace darwin
