// Giving an item a name that is free.
#pragma once

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// EEXIST when anything is at the new name, which is not replaced. One step of the kernel's; EINVAL or ENOSYS where the
/// file system cannot (or EINVAL for a directory that is to go into itself).
Error RenameToFreeName(int fromDirectory, const char* from, int toDirectory, const char* to);

/// The same, in steps where the kernel cannot: a file has both names for a moment; a directory would replace an empty
/// one that others create at that very moment. The caller knows that it does not go into itself.
Error PlaceItem(int fromDirectory, const char* from, int toDirectory, const char* to, bool isDirectory);

}  // namespace quill::darwin
