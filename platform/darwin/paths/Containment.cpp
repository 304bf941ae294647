#include "platform/darwin/paths/Containment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <fstream>
#include <optional>
#include <string>
#include <utility>

#include "platform/darwin/descriptors/DescriptorPath.h"
#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
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
FileDescriptor OpenStart(FileDescriptor itself, const char* item) {
  struct statx status {};
  if (!GetStatus(itself, status) || S_ISDIR(status.stx_mode)) return itself;
  return OpenPlace(DirectoryPart(item).c_str(), O_DIRECTORY);
}

// Nothing when the way cannot be followed to the root, as through a directory that may not be searched.
std::optional<bool> WayUpMeets(const FileDescriptor& start, const struct statx& container) {
  FileDescriptor place;
  struct statx here {};
  if (!GetStatus(start, here)) return std::nullopt;
  for (;;) {
    if (SameItem(here, container)) return true;
    const int below = place ? place.get() : start.get();
    FileDescriptor above(Retry([&] { return ::openat(below, "..", O_PATH | O_DIRECTORY | O_CLOEXEC); }));
    struct statx next {};
    if (!GetStatus(above, next)) return std::nullopt;
    if (SameItem(here, next) && here.stx_mnt_id == next.stx_mnt_id) return false;  // the root is its own parent
    place = std::move(above);
    here = next;
  }
}

// Empty when the kernel does not tell: its answer is as long as a page at most (proc(5)).
std::string PathOf(const FileDescriptor& place) {
  std::string path(4096, '\0');
  const ssize_t length = ::readlink(DescriptorPath(place.get()).text, path.data(), path.size());
  path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
  return path;
}

// Within one mount the paths tell as well, if they are paths: "(unreachable)/d" and "/d (deleted)" are not. What cannot
// be told counts as leading through the container: better a refusal than a loss.
bool PathLeadsThrough(const FileDescriptor& container, const struct statx& status, const FileDescriptor& place) {
  struct statx here {};
  if (!GetStatus(place, here) || here.stx_mnt_id != status.stx_mnt_id) return true;
  const std::string outer = PathOf(container), inner = PathOf(place);
  const auto tells = [](std::string_view path) { return path.starts_with('/') && !path.ends_with(" (deleted)"); };
  if (!tells(outer) || !tells(inner)) return true;
  return (inner + '/').starts_with(outer == "/" ? outer : outer + '/');
}

// Blanks, tabs, line feeds and backslashes stand in mountinfo as a backslash and three octal digits.
std::string Unescaped(std::string_view field) {
  std::string text;
  while (!field.empty()) {
    const bool isEscape = field.front() == '\\' && field.size() > 3;
    text += isEscape ? static_cast<char>((field[1] - '0') << 6 | (field[2] - '0') << 3 | (field[3] - '0')) : field[0];
    field.remove_prefix(isEscape ? 4 : 1);
  }
  return text;
}

// The file system, and where in it an item lies, whatever part of that is mounted where: from the fields id, device,
// root and mount point of /proc/self/mountinfo (proc(5)).
std::optional<std::string> PathInFileSystem(const FileDescriptor& place, unsigned long long mountId) {
  const std::string path = PathOf(place);
  std::ifstream mounts("/proc/self/mountinfo");
  unsigned long long id = 0;
  for (std::string parent, device, root, point, rest; mounts >> id >> parent >> device >> root >> point;) {
    std::getline(mounts, rest);
    if (id != mountId) continue;
    const std::size_t skipped = point == "/" ? 0 : Unescaped(point).size();
    if (path.empty() || path.size() < skipped) return std::nullopt;
    return device + (root == "/" ? "" : Unescaped(root)) + path.substr(skipped) + "/";
  }
  return std::nullopt;
}

// A part of the container that is mounted elsewhere, be it the item alone: no way up from there leads to it.
bool MountedElsewhere(const FileDescriptor& container, const struct statx& status, const FileDescriptor& item) {
  struct statx place {};
  if (!GetStatus(item, place) || place.stx_mnt_id == status.stx_mnt_id) return false;
  const auto outer = PathInFileSystem(container, status.stx_mnt_id);
  const auto inner = PathInFileSystem(item, place.stx_mnt_id);
  if (outer && inner) return inner->starts_with(*outer);
  return place.stx_dev_major == status.stx_dev_major && place.stx_dev_minor == status.stx_dev_minor;
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
  FileDescriptor itself = OpenPlace(item, O_NOFOLLOW);
  if (MountedElsewhere(outer, outerStatus, itself)) return true;
  const FileDescriptor start = OpenStart(std::move(itself), item);
  if (!start) return false;
  const auto meets = WayUpMeets(start, outerStatus);
  return meets ? *meets : PathLeadsThrough(outer, outerStatus, start);
}

}  // namespace quill::darwin
