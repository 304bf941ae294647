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
  /// the tree is refused with EBUSY. An item that vanishes meanwhile fails it, as somebody else may be moving the tree.
  CopiedItems* copied = nullptr;
  /// For a move: the copy, to be recognised when it has to be taken back.
  ItemStatus* made = nullptr;
};

/// All or nothing; the first cause is in \p report, and answered.
Error CopyItem(const CopyRequest& request, TreeReport& report);

/// The same for a regular file, by way of a file without a name, of which nothing is left after a kill.
/// Error::NoSuchWay when the file system has no such files, or the item is no regular file; nothing has happened then.
Error CopyFileWithoutName(const CopyRequest& request, TreeReport& report);

/// Called before a copy gets its name: for a move, makes sure that the source is still there, and keeps what the copy
/// is.
Error ReadyToPlace(const CopyRequest& request, const ItemStatus& made);

/// Removes a copy that has its name already, unless another item has that name by now. Failures are passed over: then
/// the copy stays.
void TakeBackCopy(const CopyRequest& request);

/// Makes sure that the names in a directory are on the device.
Error SyncDirectory(int directory);

}  // namespace quill::darwin
