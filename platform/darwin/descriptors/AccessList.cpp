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
  return 0;
}

Error LimitToOwningGroup(OpenItem item, mode_t& mode) {
  char usual[512];
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
