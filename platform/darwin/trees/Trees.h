// Removing, copying and moving whole trees.
//
// A path is resolved once, through NameLookup; afterwards only descriptors are used and no link is followed, so a tree
// that others change meanwhile cannot lead the work outside itself. Depth is limited by the disk alone. Each answers
// the first cause, reports to TreeObserver::Current() and leaves the entry that failed in TreeFailure::Current().
#pragma once

#include "platform/darwin/descriptors/Error.h"
#include "platform/darwin/trees/Move.h"

namespace quill::darwin {

/// Removes an item, a directory with everything in it; a link itself. Goes on after an entry that cannot be removed.
/// A mount point inside the tree is EBUSY, its contents untouched.
Error RemoveTree(const char* path);

/// Copies an item to a path at which nothing stands (else EEXIST). All or nothing: what is under the final name is
/// whole. A directory into itself is EINVAL. A link is copied as a link.
Error CopyTree(const char* from, const char* to);

/// Moves an item to a path at which nothing stands (else EEXIST). Across file systems it copies, makes sure that the
/// copy is on the device, and then removes the source. A directory into itself is EINVAL.
Error MoveTree(const char* from, const char* to);

/// The same for an item and a place that are open already, by descriptors alone: what was looked at is what is moved,
/// whatever their paths lead to by now.
Error MoveTree(const MoveRequest& request);

}  // namespace quill::darwin
