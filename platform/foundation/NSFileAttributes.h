// The entries of an item's attribute dictionary, typed. A missing key is an empty optional.
#pragma once

#include <optional>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/foundation/NSString.h"

namespace quill::foundation {

/// The attributes that a directory passes on to new ones in it.
struct NSOwnership {
  unsigned groupOwnerAccountID;
  unsigned ownerAccountID;
  unsigned posixPermissions;

  bool operator==(const NSOwnership&) const = default;
};

/// The attributes of one item at the time they were read. The creator code is in an extended attribute and is looked
/// up, by path, when it is asked for.
class NSFileAttributes {
 public:
  NSFileAttributes(const NSString* path, const darwin::ItemStatus& now) noexcept
      : itemPath_(const_cast<NSString*>(path)), status_(now) {}

  bool isSymbolicLink() const noexcept { return status_.IsLink(); }
  long long fileSize() const noexcept { return static_cast<long long>(status_.size); }
  /// Seconds since 1970-01-01 00:00:00 UTC.
  double creationDate() const noexcept;
  double modificationDate() const noexcept;
  std::optional<unsigned long> hfsCreatorCode() const;
  NSOwnership ownership() const noexcept;

 private:
  RetainPtr<NSString> itemPath_;
  darwin::ItemStatus status_;
};

/// A volume's sizes in bytes.
struct NSFileSystemAttributes {
  double systemSize = 0;
  double systemFreeSize = 0;
};

}  // namespace quill::foundation
