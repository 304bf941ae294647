// Removal of a tree whose place is already open.
#pragma once

#include "platform/darwin/trees/CopiedItems.h"
#include "platform/darwin/trees/Report.h"
#include "platform/darwin/trees/TreePath.h"

namespace quill::darwin {

/// What of a tree is removed.
enum class RemovalMode {
  /// All that this user may remove.
  kAll,
  /// Also what is in directories that have no rights for their owner: a copy of our own, half-made.
  kOwnCopy,
};

/// Removes everything that may be removed, the item itself last. The first cause is in \p report.
void RemoveTreeAt(int parent, const char* name, TreeReport& report, RemovalMode mode = RemovalMode::kAll);

/// Removes only what is among \p copied and has not changed since; anything else stays, and is EBUSY. What may have
/// changed without a trace is compared with the copy, which is at \p copy.
void RemoveCopiedTreeAt(int parent, const char* name, TreeReport& report, CopiedItems& copied, const TreePath& copy);

}  // namespace quill::darwin
