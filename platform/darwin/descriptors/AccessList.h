// Access control lists, as far as permission bits depend on them.
#pragma once

#include <string_view>

#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {

/// The extended attributes that hold them (acl(5)).
inline constexpr char kAccessList[] = "system.posix_acl_access";
inline constexpr char kDefaultList[] = "system.posix_acl_default";

/// Of \p mode, the bits that the owning group really has beside the access list \p list, whose mask is in the group
/// bits of the mode: xattr layout of linux/posix_acl_xattr.h, little-endian.
mode_t OwningGroupBits(std::string_view list, mode_t mode) noexcept;

/// Takes from \p mode, the item's own, what its access list, if it has one, denies the owning group.
Error LimitToOwningGroup(OpenItem item, mode_t& mode);

}  // namespace quill::darwin
