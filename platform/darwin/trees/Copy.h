// Copying an item, a directory with everything in it, to a name that is free: for copies, and for moves to another file
// system.
#pragma once

#include "platform/darwin/trees/CopiedItems.h"
#include "platform/darwin/trees/Report.h"
#include "platform/darwin/trees/TreePath.h"

namespace quill::darwin {

struct CopyRequest {
  const TreePath& from;
  const ItemStatus& source;
  const TreePath& to;
  /// For a move: filled with what was copied. The copy is on the device when it is put in place, and a mount point in
  /// the tree is refused with EBUSY.
  CopiedItems* copied = nullptr;
};

/// All or nothing; the first cause is in \p report, and answered.
Error CopyItem(const CopyRequest& request, TreeReport& report);

/// The same for a regular file, by way of a file without a name, of which nothing is left after a kill.
/// Error::NoSuchWay when the file system has no such files, or the item is no regular file; nothing has happened then.
Error CopyFileWithoutName(const CopyRequest& request, TreeReport& report);

/// Makes sure that the names in a directory are on the device.
Error SyncDirectory(int directory);

}  // namespace quill::darwin
