// The list is read as the kernel keeps it in its attribute (linux/posix_acl_xattr.h): a version of four bytes, then
// entries of a tag, permissions and a number, little-endian. With a list the group bits of the mode are its mask, the
// most that anybody but the owner may have; what the owning group has is in its own entry.
#include "platform/darwin/descriptors/AccessList.h"

#include <linux/limits.h>

#include <vector>

namespace quill::darwin {

mode_t OwningGroupBits(std::string_view list, mode_t mode) noexcept {
  constexpr std::size_t kHeader = 4;
  constexpr std::size_t kEntry = 8;
  constexpr unsigned char kOwningGroup = 0x04;
  for (std::size_t at = kHeader; at + kEntry <= list.size(); at += kEntry) {
    if (static_cast<unsigned char>(list[at]) != kOwningGroup || list[at + 1] != 0) continue;
    return mode & (static_cast<mode_t>(list[at + 2]) & 07) << 3;
  }
  return 0;  // no entry for the owning group: a broken list gives it nothing
}

Error LimitToOwningGroup(OpenItem item, mode_t& mode) {
  char usual[512];  // 63 entries
  std::size_t length = 0;
  std::vector<char> large;
  Error error = GetAttribute(item, kAccessList, usual, sizeof usual, length);
  if (error == ERANGE) {
    large.resize(XATTR_SIZE_MAX);
    error = GetAttribute(item, kAccessList, large.data(), large.size(), length);
  }
  // Also without /proc, through which an item that is open for lookup alone is asked.
  if (error == ENODATA || error == EOPNOTSUPP || error == ENOSYS || error == ENOENT) return {};
  if (error) return error;
  const std::string_view list(large.empty() ? usual : large.data(), length);
  mode = (mode & ~mode_t{S_IRWXG}) | OwningGroupBits(list, mode);
  return {};
}

}  // namespace quill::darwin
