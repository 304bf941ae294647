// What the work on a tree must know of an item.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <ctime>

namespace quill::darwin {

struct TreeItem {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  /// In units of 512 bytes.
  std::uint64_t blocks = 0;
  std::timespec accessed{};
  std::timespec modified{};
  /// Zero where the file system keeps none.
  std::timespec created{};
  mode_t mode = 0;
  uid_t owner = 0;
  gid_t group = 0;
  std::uint32_t links = 0;
  /// Of a device itself.
  dev_t represents = 0;
  bool isMountRoot = false;
  std::uint64_t mount = 0;

  bool IsDirectory() const noexcept { return S_ISDIR(mode); }
  bool IsFile() const noexcept { return S_ISREG(mode); }
  bool IsLink() const noexcept { return S_ISLNK(mode); }
  /// Of two directories this can be trusted everywhere; on overlays a file and its directory differ in their device.
  bool IsSameAs(const TreeItem& other) const noexcept { return device == other.device && inode == other.inode; }
};

/// The item of that name itself, never what a link points to. 0 or the errno.
int ReadItem(int directory, const char* name, TreeItem& item);

/// The item that is open.
int ReadItem(int descriptor, TreeItem& item);

}  // namespace quill::darwin
