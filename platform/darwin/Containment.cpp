#include "platform/darwin/Containment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <fstream>
#include <optional>
#include <string>

#include "platform/darwin/FileDescriptor.h"
#include "platform/darwin/NameLookup.h"
#include "platform/darwin/Retry.h"

namespace darwin {
namespace {

FileDescriptor OpenPlace(const char* path, int flags) {
  return FileDescriptor(OnItem(
      path, [=](const char* found) { return Retry([=] { return ::open(found, O_PATH | O_CLOEXEC | flags); }); }));
}

bool GetStatus(const FileDescriptor& place, struct statx& status) {
  constexpr unsigned kWanted = STATX_TYPE | STATX_INO | STATX_MNT_ID;
  return place && ::statx(place.get(), "", AT_EMPTY_PATH, kWanted, &status) == 0;
}

bool SameItem(const struct statx& one, const struct statx& other) {
  return one.stx_ino == other.stx_ino && one.stx_dev_major == other.stx_dev_major &&
         one.stx_dev_minor == other.stx_dev_minor;
}

std::string DirectoryPart(std::string_view path) {
  const auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return ".";
  return std::string(path.substr(0, slash == 0 ? 1 : slash));
}

// The directory from which the way up begins: the item itself, or the one that holds it. Links are not followed: where
// a link lies, and not where it leads, is what a removal of the container would take away.
FileDescriptor OpenStart(const char* item) {
  FileDescriptor itself = OpenPlace(item, O_NOFOLLOW);
  struct statx status {};
  if (!GetStatus(itself, status) || S_ISDIR(status.stx_mode)) return itself;
  return OpenPlace(DirectoryPart(item).c_str(), O_DIRECTORY);
}

// A way that cannot be followed to the root counts as leading through the container: better a refusal than a loss.
bool WayUpMeets(FileDescriptor place, const struct statx& container) {
  struct statx here {};
  if (!GetStatus(place, here)) return true;
  for (;;) {
    if (SameItem(here, container)) return true;
    FileDescriptor above(Retry([&] { return ::openat(place.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC); }));
    struct statx next {};
    if (!GetStatus(above, next)) return true;
    if (SameItem(here, next) && here.stx_mnt_id == next.stx_mnt_id) return false;  // the root is its own parent
    place = std::move(above);
    here = next;
  }
}

std::string PathOf(const FileDescriptor& place) {
  std::string path(4096, '\0');  // longer paths are cut by the kernel as well (proc(5))
  const std::string link = "/proc/self/fd/" + std::to_string(place.get());
  const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
  path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
  return path;
}

// Where an item lies within its file system, whatever part of that is mounted where: from the fields id, root and mount
// point of /proc/self/mountinfo (proc(5)).
std::optional<std::string> PathInFileSystem(const FileDescriptor& place, unsigned long long mountId) {
  std::ifstream mounts("/proc/self/mountinfo");
  unsigned long long id = 0;
  for (std::string parent, device, root, point, rest; mounts >> id >> parent >> device >> root >> point;) {
    std::getline(mounts, rest);
    if (id != mountId) continue;
    const std::string path = PathOf(place);
    const std::size_t skipped = point == "/" ? 0 : point.size();
    if (path.size() < skipped) return std::nullopt;
    return (root == "/" ? "" : root) + path.substr(skipped) + "/";
  }
  return std::nullopt;
}

// A part of the container that is mounted elsewhere: no way up from there leads to it.
bool MountedElsewhere(const FileDescriptor& container, const struct statx& status, const FileDescriptor& start) {
  struct statx place {};
  if (!GetStatus(start, place) || place.stx_mnt_id == status.stx_mnt_id) return false;
  if (place.stx_dev_major != status.stx_dev_major || place.stx_dev_minor != status.stx_dev_minor) return false;
  const auto outer = PathInFileSystem(container, status.stx_mnt_id);
  const auto inner = PathInFileSystem(start, place.stx_mnt_id);
  return outer && inner && inner->starts_with(*outer);
}

}  // namespace

bool ItemContains(const char* container, const char* item) {
  if (!container || !item) return false;
  const FileDescriptor outer = OpenPlace(container, 0);
  struct statx outerStatus {};
  if (!GetStatus(outer, outerStatus)) return false;
  struct statx itemStatus {};
  if (GetStatus(OpenPlace(item, 0), itemStatus) && SameItem(outerStatus, itemStatus)) return true;
  if (!S_ISDIR(outerStatus.stx_mode)) return false;
  FileDescriptor start = OpenStart(item);
  if (!start) return false;
  if (MountedElsewhere(outer, outerStatus, start)) return true;
  return WayUpMeets(std::move(start), outerStatus);
}

}  // namespace darwin
