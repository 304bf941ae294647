#include "platform/darwin/trees/TreePath.h"

#include <fcntl.h>

#include <string_view>

#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

struct SplitPath {
  std::string parent;
  std::string_view leaf;
  bool slashAfterLeaf = false;

  /// No leaf: the path is the root, however many slashes it has.
  bool IsRoot() const { return leaf.empty(); }
  bool IsDots() const { return leaf == "." || leaf == ".."; }
};

SplitPath Split(std::string_view path) {
  const auto end = path.find_last_not_of('/');
  if (end == path.npos) return {"/", {}, true};
  const std::string_view trimmed = path.substr(0, end + 1);
  const auto slash = trimmed.rfind('/');
  const bool slashAfterLeaf = trimmed.size() < path.size();
  if (slash == trimmed.npos) return {".", trimmed, slashAfterLeaf};
  return {std::string(trimmed.substr(0, slash + 1)), trimmed.substr(slash + 1), slashAfterLeaf};
}

FileDescriptor OpenForLookup(const char* path) {
  return FileDescriptor(OnItem(
      path, [](const char* text) { return Retry([&] { return ::open(text, O_PATH | O_DIRECTORY | O_CLOEXEC); }); }));
}

int OpenParent(const SplitPath& split, TreePath& path) {
  path.parent = OpenForLookup(split.parent.c_str());
  if (!path.parent) return errno;
  path.name = split.leaf;
  path.demandsDirectory = split.slashAfterLeaf;
  return 0;
}

/// The item under the path's name, or under the equivalent of it that stands there.
int FindItem(TreePath& path, TreeItem& item) {
  int error = ReadItem(path.parent.get(), path.name.c_str(), item);
  if (MayStandUnderAnotherName(error)) {
    const auto equivalent = EquivalentNameAt(path.parent.get(), path.name);
    if (!equivalent) return error;
    path.name = *equivalent;
    error = ReadItem(path.parent.get(), path.name.c_str(), item);
  }
  if (error == 0 && path.demandsDirectory && !item.IsDirectory()) return ENOTDIR;
  return error;
}

int CheckText(const char* text) {
  if (!text) return EFAULT;
  return *text == '\0' ? ENOENT : 0;
}

FileDescriptor OpenHolder(int directory) {
  return FileDescriptor(Retry([&] { return ::openat(directory, "..", O_PATH | O_DIRECTORY | O_CLOEXEC); }));
}

}  // namespace

int FindItemToTake(const char* text, TreePath& path, TreeItem& item) {
  if (const int error = CheckText(text)) return error;
  path.text = text;
  const SplitPath split = Split(text);
  if (split.IsRoot()) return EBUSY;
  if (const int error = OpenParent(split, path)) return error;
  if (split.IsDots()) return EINVAL;
  return FindItem(path, item);
}

int FindItemToCopy(const char* text, TreePath& path, TreeItem& item) {
  if (const int error = CheckText(text)) return error;
  path.text = text;
  SplitPath split = Split(text);
  std::string shorter;
  while (split.leaf == "." && split.parent != ".") {
    shorter = split.parent;
    split = Split(shorter);
  }
  if (!split.IsRoot() && !split.IsDots()) {
    if (const int error = OpenParent(split, path)) return error;
    path.demandsDirectory |= !shorter.empty();
    return FindItem(path, item);
  }
  path.parent = OpenForLookup(text);
  if (!path.parent) return errno;
  path.name.assign(1, '.');  // and not from a literal, at which g++ 12 sees an overlap that is not there
  return FindItem(path, item);
}

int FindFreePlace(const char* text, TreePath& path, std::string& standing) {
  if (const int error = CheckText(text)) return error;
  path.text = text;
  const SplitPath split = Split(text);
  if (split.IsRoot() || split.IsDots()) return OpenForLookup(text) ? EEXIST : errno;
  if (const int error = OpenParent(split, path)) return error;
  TreeItem item;
  const int error = ReadItem(path.parent.get(), path.name.c_str(), item);
  standing = path.name;
  if (error == 0) return EEXIST;
  if (!MayStandUnderAnotherName(error)) return error;
  const auto equivalent = EquivalentNameAt(path.parent.get(), path.name);
  if (!equivalent) return error == ENOENT ? 0 : error;
  standing = *equivalent;
  return EEXIST;
}

bool Holds(const TreeItem& item, int directory) {
  TreeItem here;
  if (ReadItem(directory, here) != 0) return false;
  FileDescriptor holder;
  for (;;) {
    if (here.IsSameAs(item)) return true;
    FileDescriptor next = OpenHolder(holder ? holder.get() : directory);
    TreeItem above;
    // A directory that may not be looked at ends the search; the copy itself notices when it meets its own beginning.
    if (!next || ReadItem(next.get(), above) != 0) return false;
    if (above.IsSameAs(here) && above.mount == here.mount) return false;  // the root is its own parent
    holder = std::move(next);
    here = above;
  }
}

}  // namespace quill::darwin
