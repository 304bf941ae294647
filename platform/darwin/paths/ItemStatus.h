// What one question to the kernel tells about an item.
#pragma once

#include <cstdint>
#include <ctime>

namespace quill::darwin {

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

bool IsEarlier(const std::timespec& left, const std::timespec& right) noexcept;

/// 0, or the errno, with \p status untouched. One call for a path that is found as given.
int GetItemStatus(const char* path, FinalLink finalLink, ItemStatus& status);

/// As GetItemStatus for a name in \p directory (a descriptor) that is looked for only as it is.
int GetItemStatusAt(int directory, const char* name, FinalLink finalLink, ItemStatus& status) noexcept;

/// Whether the effective user may do what \p mode (R_OK, W_OK) says to an existing item; access asks for the real user.
bool MayAccess(const char* path, int mode);

/// Whether a directory stands at \p path, or a link to one; cheaper to ask than all of its status. 0, or the errno,
/// with \p isDirectory untouched.
int IsDirectory(const char* path, bool& isDirectory);

/// The same for a name that a listing of \p directory (a descriptor) has delivered, so that it is looked for only as it
/// is. False as well when it is gone.
bool IsDirectoryAt(int directory, const char* name) noexcept;

}  // namespace quill::darwin
