// Moving an item to a name that is free.
#pragma once

#include "platform/darwin/trees/Report.h"
#include "platform/darwin/trees/TreePath.h"

namespace quill::darwin {

struct MoveRequest {
  TreePath from;
  ItemStatus source;
  TreePath to;
};

/// Renames the item, or copies it to another file system and removes it here.
Error MoveItem(const MoveRequest& request, TreeReport& report);

/// Gives the item another spelling of its own name, which \p existingName is, on a file system that takes both for one:
/// it does not distinguish upper from lower case, say. EEXIST when it is another item.
Error ChangeSpelling(const MoveRequest& request, const std::string& existingName);

}  // namespace quill::darwin
