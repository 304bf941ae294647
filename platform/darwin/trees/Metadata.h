// Carrying over what an item has beside its contents: owner, extended attributes (access control lists among them),
// permissions, times.
#pragma once

#include <optional>
#include <vector>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/trees/Report.h"

namespace quill::darwin {

class MetadataCopier {
 public:
  /// What the target could not hold is reported there.
  explicit MetadataCopier(TreeReport& report) : report_(report), names_(4096), value_(4096) {}

  /// What new items have as owner and group at the target: items that are to have the same need no change.
  void SetOwnerOfNewItems(uid_t owner, gid_t group) { newOwner_ = {owner, group}; }

  /// What the target cannot hold (not supported, not permitted) is reported and does not fail.
  Error Copy(OpenItem from, const ItemStatus& source, OpenItem to);

 private:
  struct Owner {
    uid_t user;
    gid_t group;
  };

  Error CopyOwner(const ItemStatus& source, OpenItem to, bool& kept);
  void GuessNames(const ItemStatus& source, std::size_t& length);
  Error ListNames(OpenItem from, std::size_t& length);
  Error CopyAttributes(OpenItem from, const ItemStatus& source, OpenItem to, mode_t& mode);
  Error GetValue(OpenItem from, const char* name, std::size_t& length);
  Error CopyAttribute(OpenItem from, const char* name, OpenItem to, mode_t& mode);
  Error CopyTimes(const ItemStatus& source, OpenItem to);
  Error UnlessNotKept(TreeMetadata what, Error error);

  TreeReport& report_;
  std::optional<Owner> newOwner_;
  std::vector<char> names_;
  std::vector<char> value_;
};

/// Takes away what a new item has inherited from the access control list of its directory, which would open it to
/// others before its time.
Error RemoveInheritedAccess(int descriptor, bool isDirectory);

}  // namespace quill::darwin
