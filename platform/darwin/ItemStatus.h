// What one question to the kernel tells about an item.
#pragma once

#include <cstdint>
#include <ctime>

namespace darwin {

enum class FinalLink { kItself, kTarget };

struct ItemStatus {
  /// Type and permission bits as in st_mode.
  std::uint32_t mode = 0;
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  long long size = 0;
  std::timespec modified{};
  /// The birth time; on a file system that keeps none, the earliest time that it does keep.
  std::timespec created{};

  bool IsDirectory() const noexcept;
  bool IsSymbolicLink() const noexcept;
};

/// 0, or the errno, with \p status untouched. One call for a path that is found as given.
int GetItemStatus(const char* path, FinalLink finalLink, ItemStatus& status);

}  // namespace darwin
