// The place of a tree: the directory that holds it, opened once, and its name there.
//
// The last component of a path, by operation (what is refused is refused before anything changes):
//
//   path            remove, move from            copy from                     to
//   x               the item itself              the item itself               free, else EEXIST
//   x/, x//         a directory x, else ENOTDIR  a directory x, else ENOTDIR   as x; ENOTDIR for what is no directory
//   x/.             EINVAL                       as x/                         EEXIST, or why x is not found
//   .   ..  x/..    EINVAL                       that directory                EEXIST, or why x is not found
//   /               EBUSY                        EINVAL: all lies inside it    EEXIST
//   (empty)         ENOENT                       ENOENT                        ENOENT
//
// A link x is never followed: x/ and, for a copy, x/. are ENOTDIR even when it points to a directory. Whoever writes
// x/.. or x/y means the directory behind a link x, as everywhere.
#pragma once

#include <string>

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/ItemStatus.h"

namespace quill::darwin {

struct TreePath {
  /// As it was given.
  const char* text = nullptr;
  /// Good for calls by name, not for reading.
  FileDescriptor parent;
  std::string name;
  bool demandsDirectory = false;
};

/// An item that is to leave its place.
Error FindItemToTake(const char* text, TreePath& path, ItemStatus& status);
/// An item that stays.
Error FindItemToCopy(const char* text, TreePath& path, ItemStatus& status);
/// A place for a new item. EEXIST when there is one under this name or an equivalent one; if the path ends in a name,
/// \p path is good then too and \p existingName is the name of the item that is there.
Error FindFreePlace(const char* text, TreePath& path, std::string& existingName);

/// The same for a name in a directory that is open already.
Error FindFreeName(const TreePath& path, std::string& existingName);

/// Whether the directory \p item is \p directory or one of those that hold it.
bool Holds(const ItemStatus& item, int directory);

}  // namespace quill::darwin
