// Changes of what an item says about itself. Each answers 0 or the errno; names are looked up as NameLookup says and
// links are followed. Any thread.
#pragma once

#include <optional>

namespace darwin {

/// \p milliseconds since 1970-01-01 00:00:00 UTC; EINVAL for a time that the system cannot hold. The time of the last
/// access stays.
int SetModificationTime(const char* path, double milliseconds);

/// Sets what is present. Where both may not be set together, each is tried alone.
int SetOwnership(const char* path, std::optional<unsigned> owner, std::optional<unsigned> group);

/// The twelve permission bits.
int SetPermissions(const char* path, unsigned permissions);

/// Takes away every write permission, or gives the owner's back.
int SetReadOnly(const char* path, bool readOnly);

}  // namespace darwin
