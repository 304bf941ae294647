// Changes of the item at a path. Names are looked up as NameLookup says. EFAULT for a null path. Any thread, but the
// current directory belongs to the whole process.
#pragma once

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// \p milliseconds since 1970-01-01 00:00:00 UTC; EINVAL for a time that the system cannot hold. The time of the last
/// access stays. Links are followed.
Error SetModificationTime(const char* path, double milliseconds);

/// Takes away every write permission, or gives the owner's back. Links are followed. Other bits stay, and what was
/// looked at is what is changed, even if the path leads elsewhere meanwhile.
Error SetReadOnly(const char* path, bool readOnly);

/// Removes a file, or a link itself. EPERM for a directory, as POSIX has it; only Linux says EISDIR.
Error RemoveFile(const char* path);

/// Removes an empty directory; ENOTDIR for a link to one.
Error RemoveDirectory(const char* path);

Error SetCurrentDirectory(const char* path);

}  // namespace quill::darwin
