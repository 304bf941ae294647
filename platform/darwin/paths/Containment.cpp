// Device and inode decide, first of the two items, then of each directory above the inner one. Three things hide the
// way up: a bind mount, whose ".." leads elsewhere, so the places of both are compared within their file system; a
// directory that may not be searched, where the kernel's paths of both are compared; and a link, which lies where its
// own directory is, and not where it leads.
#include "platform/darwin/paths/Containment.h"

#include <fcntl.h>

#include <algorithm>
#include <climits>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/names/PathText.h"
#include "platform/darwin/paths/Status.h"

namespace quill::darwin {
namespace {

/// As many as the kernel follows (path_resolution(7)).
constexpr int kMostLinks = 40;

/// An item that is open for lookup alone. Not open when nothing stands there.
struct Place {
  FileDescriptor descriptor;
  ItemStatus status;

  bool Exists() const noexcept { return descriptor.IsOpen(); }
};

Error OpenPlace(const char* path, int flags, Place& place) {
  const auto open = [&](const char* name) { return Open(AT_FDCWD, name, O_PATH | flags, place.descriptor); };
  const Error error = OnPath(path, open);
  if (error == ENOENT || error == ENOTDIR) return {};
  return error ? error : GetStatus(place.descriptor.get(), place.status);
}

/// The directory from which the way up begins: the item itself, or the one that holds it. A removal of the container
/// would take away a link where it lies, not what it leads to.
Error FindStart(const char* item, Place& start) {
  if (!start.Exists() || start.status.IsDirectory()) return {};
  Place above;
  const Error error = OpenPlace(std::string(ParentOf(item)).c_str(), O_DIRECTORY, above);
  std::swap(start, above);
  return error;
}

/// Whether \p path is one at all: "(unreachable)/d" and "/d (deleted)" are not.
bool IsPlainPath(std::string_view path) { return path.starts_with('/') && !path.ends_with(" (deleted)"); }

/// Within one mount the kernel's paths answer as well. What they cannot answer counts as leading through the
/// container: better a refusal than a loss.
bool PathLeadsThrough(const Place& container, const Place& place) {
  std::string outer, inner;
  if (place.status.mount != container.status.mount) return true;
  if (GetPathOf(container.descriptor.get(), outer) || GetPathOf(place.descriptor.get(), inner)) return true;
  if (!IsPlainPath(outer) || !IsPlainPath(inner)) return true;
  return (inner + '/').starts_with(outer == "/" ? outer : outer + '/');
}

/// mountinfo writes blanks, tabs, line feeds and backslashes as a backslash and three octal digits.
std::string Unescaped(std::string_view field) {
  std::string text;
  while (!field.empty()) {
    const bool isEscape = field.front() == '\\' && field.size() > 3;
    text += isEscape ? static_cast<char>((field[1] - '0') << 6 | (field[2] - '0') << 3 | (field[3] - '0')) : field[0];
    field.remove_prefix(isEscape ? 4 : 1);
  }
  return text;
}

Error ReadMounts(std::string& mounts) {
  FileDescriptor file;
  if (const Error error = Open(AT_FDCWD, "/proc/self/mountinfo", O_RDONLY, file)) return error;
  char block[4096];
  for (std::size_t got = 0;;) {
    if (const Error error = Read(file.get(), block, sizeof block, got)) return error;
    if (got == 0) return {};
    mounts.append(block, got);
  }
}

/// Gives the file system, and where in it an item lies, whatever part of that is mounted where: from the fields id,
/// device, root and mount point of /proc/self/mountinfo (proc(5)). ENOENT when the mount is not listed.
Error FindPathInFileSystem(const Place& place, std::string& path) {
  std::string mounts, inMount;
  if (const Error error = ReadMounts(mounts)) return error;
  if (const Error error = GetPathOf(place.descriptor.get(), inMount)) return error;
  std::istringstream lines(mounts);
  unsigned long long id = 0;
  for (std::string parent, device, root, point, rest; lines >> id >> parent >> device >> root >> point;) {
    std::getline(lines, rest);
    if (id != place.status.mount) continue;
    const std::size_t skipped = point == "/" ? 0 : Unescaped(point).size();
    if (inMount.size() < skipped) return ENOENT;
    path = device + (root == "/" ? "" : Unescaped(root)) + inMount.substr(skipped) + "/";
    return {};
  }
  return ENOENT;
}

/// Whether a part of the container is mounted elsewhere, be it the item alone: no way up from there leads to it. Two
/// mounts of one file system count as that when their places in it cannot be compared.
bool IsMountedElsewhere(const Place& container, const Place& item) {
  if (!item.Exists() || item.status.mount == container.status.mount) return false;
  std::string outer, inner;
  const bool isKnown = !FindPathInFileSystem(container, outer) && !FindPathInFileSystem(item, inner);
  return isKnown ? inner.starts_with(outer) : item.status.device == container.status.device;
}

/// Takes the first component from the front of \p path; empty when there is none.
std::string TakeComponent(std::string& path) {
  path.erase(0, std::min(path.find_first_not_of('/'), path.size()));
  std::string component = path.substr(0, path.find('/'));
  path.erase(0, component.size());
  return component;
}

Error ReadWholeLink(const std::string& path, std::string& text) {
  char buffer[PATH_MAX];
  std::size_t length = 0;
  if (const Error error = ReadLinkText(path.c_str(), buffer, sizeof buffer, length)) return error;
  text.assign(buffer, length);
  return {};
}

}  // namespace

Error ItemContains(const char* container, const char* item, bool& contains) {
  contains = false;
  Place outer, target;
  if (const Error error = OpenPlace(container, 0, outer)) return error;
  if (!outer.Exists()) return {};
  if (const Error error = OpenPlace(item, 0, target)) return error;
  contains = target.Exists() && target.status.IsSameAs(outer.status);
  if (contains || !outer.status.IsDirectory()) return {};

  Place start;
  if (const Error error = OpenPlace(item, O_NOFOLLOW, start)) return error;
  contains = IsMountedElsewhere(outer, start);
  if (contains) return {};
  if (const Error error = FindStart(item, start)) return error;
  if (!start.Exists()) return {};
  if (IsWithin(start.descriptor.get(), outer.status, contains)) contains = PathLeadsThrough(outer, start);
  return {};
}

Error PathLeadsThroughLink(const char* path, const ItemStatus& link, bool& leads) {
  leads = false;
  std::string rest = path;
  std::string place = rest.starts_with('/') ? "/" : "";
  for (int links = 0;;) {
    const std::string component = TakeComponent(rest);
    if (component.empty()) return {};
    const std::string next = Join(place, component);
    ItemStatus status;
    const Error error = GetStatus(next.c_str(), FinalLink::kItself, status);
    if (error) return error == ENOENT || error == ENOTDIR ? Error() : error;
    leads = status.IsLink() && status.IsSameAs(link);
    if (leads) return {};
    if (!status.IsLink()) {
      place = next;
      continue;
    }
    if (++links > kMostLinks) return ELOOP;
    std::string text;
    if (const Error unread = ReadWholeLink(next, text)) return unread;
    if (text.starts_with('/')) place = "/";
    rest = text.append("/").append(rest);
  }
}

}  // namespace quill::darwin
