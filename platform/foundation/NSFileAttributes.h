// What an item's attribute dictionary holds, typed. A key that is absent is an empty optional.
#pragma once

#include <optional>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/foundation/NSString.h"

namespace quill::foundation {

/// What one directory hands down to another.
struct NSOwnership {
  unsigned groupOwnerAccountID;
  unsigned ownerAccountID;
  unsigned posixPermissions;

  bool operator==(const NSOwnership&) const = default;
};

/// The attributes of one item at the time of the question. The creator code lives in an extended attribute and is
/// looked up, by path, when it is asked for.
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
