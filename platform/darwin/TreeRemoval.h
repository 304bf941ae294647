// Removal of a tree whose place is already open.
#pragma once

#include "platform/darwin/CopiedItems.h"
#include "platform/darwin/FileDescriptor.h"
#include "platform/darwin/TreeReport.h"

namespace darwin {

/// Removes everything that may be removed, the item itself last. The first cause is in \p report; its entries' names
/// begin at \p path, the text for the root.
/// With \p only, what is not among these items stays, and is EBUSY.
void RemoveTreeAt(FileDescriptor parent, const char* name, const char* path, TreeReport& report,
                  const CopiedItems* only = nullptr);

/// Another descriptor of the same directory; empty, with errno, when there is none to be had.
FileDescriptor Duplicate(const FileDescriptor& directory);

}  // namespace darwin
