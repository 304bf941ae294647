// Changes of what an item says about itself. Each answers 0 or the errno; names are looked up as NameLookup says and
// links are followed unless a function says otherwise. Any thread.
#pragma once

#include "platform/darwin/paths/ItemStatus.h"

namespace quill::darwin {

/// \p milliseconds since 1970-01-01 00:00:00 UTC; EINVAL for a time that the system cannot hold. The time of the last
/// access stays.
int SetModificationTime(const char* path, double milliseconds);

/// The twelve permission bits. A link itself has none that could be set: EOPNOTSUPP.
int SetPermissions(const char* path, FinalLink finalLink, unsigned permissions);

/// Takes away every write permission, or gives the owner's back.
int SetReadOnly(const char* path, bool readOnly);

}  // namespace quill::darwin
