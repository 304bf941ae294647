// Metadata of an item, from one statx call.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <ctime>

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// What a question sees when the last component of its path is a symbolic link.
enum class FinalLink { kItself, kTarget };

struct ItemStatus {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  /// In bytes.
  std::uint64_t size = 0;
  /// In units of 512 bytes.
  std::uint64_t blocks = 0;
  std::timespec accessed{};
  std::timespec modified{};
  /// The last change of the status, which nobody can set.
  std::timespec changed{};
  /// The birth time; zero where the file system keeps none.
  std::timespec born{};
  /// Type and permission bits as in st_mode.
  mode_t mode = 0;
  uid_t owner = 0;
  gid_t group = 0;
  std::uint32_t links = 0;
  /// The device that a device node stands for.
  dev_t deviceNumber = 0;
  bool isMountRoot = false;
  /// The names in such a directory are only readable while its key is at hand.
  bool isEncrypted = false;
  /// Of the mount through which the item was reached.
  std::uint64_t mount = 0;

  bool IsDirectory() const noexcept { return S_ISDIR(mode); }
  bool IsFile() const noexcept { return S_ISREG(mode); }
  bool IsLink() const noexcept { return S_ISLNK(mode); }
  /// The twelve bits that chmod sets.
  mode_t Permissions() const noexcept { return mode & 07777; }
  /// Of two directories this can be trusted everywhere; on overlays a file and its directory differ in their device.
  bool IsSameAs(const ItemStatus& other) const noexcept { return device == other.device && inode == other.inode; }
  /// The birth time; on a file system that keeps none, the earliest time that it does keep.
  std::timespec Created() const noexcept;
};

bool IsEarlier(const std::timespec& left, const std::timespec& right) noexcept;
bool IsSameTime(const std::timespec& one, const std::timespec& other) noexcept;

/// Whether a change after \p moment could leave \p status as it is, because its last change is so close to that moment
/// that the stamps of both would be the same. \p moment is by the clock of the item's file system (TimeOfNewItems).
bool MayChangeUnseen(const ItemStatus& status, const std::timespec& moment) noexcept;

/// Of an open item, also one that is open for lookup alone.
Error GetStatus(int descriptor, ItemStatus& status) noexcept;
/// Of a name in a directory (a descriptor, or AT_FDCWD), looked for as it stands.
Error GetStatusOf(int directory, const char* name, FinalLink finalLink, ItemStatus& status) noexcept;

/// Whether the directory \p directory is \p container, or lies in it at any depth, by climbing ".." to the root. An
/// error when the way cannot be followed, as through a directory that may not be searched.
Error IsWithin(int directory, const ItemStatus& container, bool& within) noexcept;

}  // namespace quill::darwin
