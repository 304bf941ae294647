#include "platform/darwin/paths/Volumes.h"

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/names/PathText.h"
#include "platform/darwin/paths/Status.h"

namespace quill::darwin {
namespace {

Error GetVolumeOf(const char* path, struct statvfs& volume) {
  return OnPath(path, [&volume](const char* item) { return GetVolume(item, volume); });
}

}  // namespace

Error GetVolumeSpace(const char* path, VolumeSpace& space) {
  struct statvfs volume;
  if (const Error error = GetVolumeOf(path, volume)) return error;
  // f_blocks and f_bavail count in f_frsize; f_bsize is only the size that is best for reading (statvfs(3)).
  const auto unit = static_cast<double>(volume.f_frsize);
  // f_bavail, not f_bfree: ext4, for one, keeps some blocks for root.
  space = {static_cast<double>(volume.f_blocks) * unit, static_cast<double>(volume.f_bavail) * unit};
  return {};
}

Error IsReadOnlyVolume(const char* path, bool& readOnly) {
  struct statvfs volume;
  if (const Error error = GetVolumeOf(path, volume)) return error;
  readOnly = (volume.f_flag & ST_RDONLY) != 0;
  return {};
}

// The devices of one volume's directories may differ (overlay), so the kernel is asked for the mount itself.
Error GetVolumeRoot(const char* path, std::string& root) {
  for (std::string directory = path;; directory = std::string(ParentOf(directory))) {
    ItemStatus status;
    if (const Error error = GetStatus(directory.c_str(), FinalLink::kItself, status)) return error;
    // Before Linux 5.8 no directory is known as the root of a mount; the search then ends at the top.
    const bool isTop = directory == "/" || directory.find('/') == std::string::npos;
    if (!isTop && !status.isMountRoot) continue;
    root.swap(directory);
    return {};
  }
}

}  // namespace quill::darwin
