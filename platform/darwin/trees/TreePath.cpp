// The text is split into a directory and a name without asking the disk. The directory is opened once, through the
// lookup by equivalent names, and serves for everything that follows; so does the name under which the item was found.
// What the last component may be is decided by the operation, as the table in the header says.
#include "platform/darwin/trees/TreePath.h"

#include <fcntl.h>

#include <string_view>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/names/PathText.h"

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

SplitPath Split(std::string_view path) { return {std::string(ParentOf(path)), LeafOf(path), path.ends_with('/')}; }

Error OpenForLookup(const char* path, FileDescriptor& directory) {
  const auto open = [&](const char* name) { return Open(AT_FDCWD, name, O_PATH | O_DIRECTORY, directory); };
  return OnPath(path, open);
}

Error OpenParent(const SplitPath& split, TreePath& path) {
  if (const Error error = OpenForLookup(split.parent.c_str(), path.parent)) return error;
  path.name = split.leaf;
  path.demandsDirectory = split.slashAfterLeaf;
  return {};
}

Error GetStatusIn(const TreePath& path, ItemStatus& status) {
  return GetStatusOf(path.parent.get(), path.name.c_str(), FinalLink::kItself, status);
}

/// The item under the path's name, or under the equivalent of it that is there.
Error FindItem(TreePath& path, ItemStatus& status) {
  Error error = GetStatusIn(path, status);
  if (MayStandUnderAnotherName(error)) {
    const Error missing = FindEquivalentName(path.parent.get(), std::string(path.name), path.name);
    if (missing) return missing == ENOENT ? error : missing;
    error = GetStatusIn(path, status);
  }
  if (error) return error;
  return path.demandsDirectory && !status.IsDirectory() ? ENOTDIR : 0;
}

Error CheckText(const char* text) {
  if (!text) return EFAULT;
  return *text == '\0' ? ENOENT : 0;
}

}  // namespace

Error FindItemToTake(const char* text, TreePath& path, ItemStatus& status) {
  if (const Error error = CheckText(text)) return error;
  path.text = text;
  const SplitPath split = Split(text);
  if (split.IsRoot()) return EBUSY;  // what the kernel says when the root is to be renamed or removed
  if (const Error error = OpenParent(split, path)) return error;
  if (split.IsDots()) return EINVAL;
  return FindItem(path, status);
}

Error FindItemToCopy(const char* text, TreePath& path, ItemStatus& status) {
  if (const Error error = CheckText(text)) return error;
  path.text = text;
  SplitPath split = Split(text);
  std::string shorter;
  while (split.leaf == "." && split.parent != ".") {
    shorter = split.parent;
    split = Split(shorter);
  }
  if (!split.IsRoot() && !split.IsDots()) {
    if (const Error error = OpenParent(split, path)) return error;
    path.demandsDirectory |= !shorter.empty();
    return FindItem(path, status);
  }
  if (const Error error = OpenForLookup(text, path.parent)) return error;
  path.name.assign(1, '.');  // and not from a literal, at which g++ 12 sees an overlap that is not there
  return FindItem(path, status);
}

Error FindFreePlace(const char* text, TreePath& path, std::string& existingName) {
  if (const Error error = CheckText(text)) return error;
  path.text = text;
  const SplitPath split = Split(text);
  if (split.IsRoot() || split.IsDots()) return FirstOf(OpenForLookup(text, path.parent), EEXIST);
  if (const Error error = OpenParent(split, path)) return error;
  return FindFreeName(path, existingName);
}

Error FindFreeName(const TreePath& path, std::string& existingName) {
  ItemStatus status;
  const Error error = GetStatusIn(path, status);
  existingName = path.name;
  if (!error) return EEXIST;
  if (!MayStandUnderAnotherName(error)) return error;
  const Error missing = FindEquivalentName(path.parent.get(), path.name, existingName);
  if (!missing) return EEXIST;
  if (missing != ENOENT) return missing;
  return error == ENOENT ? Error() : error;
}

// A directory that may not be looked at ends the search; the copy itself notices when it meets its own beginning.
bool Holds(const ItemStatus& item, int directory) {
  bool holds = false;
  return !IsWithin(directory, item, holds) && holds;
}

}  // namespace quill::darwin
