// Giving an item a name that is free.
#pragma once

namespace quill::darwin {

/// Each answers 0 or the errno: EEXIST when anything stands at the new name, which is not replaced.

/// As the kernel does it in one step; EINVAL or ENOSYS where the file system cannot (or EINVAL for a directory that is
/// to go into itself).
int RenameToFreeName(int fromDirectory, const char* from, int toDirectory, const char* to);

/// In steps where the kernel cannot: a file stands under both names for a moment; a directory would replace an empty
/// one that others create at that very moment. The caller knows that it does not go into itself.
int PlaceItem(int fromDirectory, const char* from, int toDirectory, const char* to, bool isDirectory);

}  // namespace quill::darwin
