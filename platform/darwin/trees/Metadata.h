// Carrying over what an item has beside its contents: owner, extended attributes (access control lists among them),
// permissions, times.
#pragma once

#include <vector>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/trees/Report.h"

namespace quill::darwin {

class MetadataCopier {
 public:
  /// What the target could not hold is reported there.
  explicit MetadataCopier(TreeReport& report) : report_(report), names_(4096), value_(4096) {}

  /// What the target cannot hold (not supported, not permitted) is reported and does not fail.
  Error Copy(OpenItem from, const ItemStatus& source, OpenItem to);
  /// The same for a target that was asked already: \p made is its status.
  Error Copy(OpenItem from, const ItemStatus& source, OpenItem to, const ItemStatus& made);

 private:
  Error CopyOwner(const ItemStatus& source, OpenItem to, const ItemStatus& made, bool& kept);
  void GuessNames(const ItemStatus& source, std::size_t& length);
  Error ListNames(OpenItem from, std::size_t& length);
  Error CopyAttributes(OpenItem from, const ItemStatus& source, OpenItem to, mode_t& mode);
  Error GetValue(OpenItem from, const char* name, std::size_t& length);
  Error CopyAttribute(OpenItem from, const char* name, OpenItem to, mode_t& mode);
  Error CopyTimes(const ItemStatus& source, OpenItem to);
  Error UnlessNotKept(TreeMetadata what, Error error);

  TreeReport& report_;
  std::vector<char> names_;
  std::vector<char> value_;
};

/// Takes away what a new item has inherited from the access control list of its directory, which would open it to
/// others before its time.
Error RemoveInheritedAccess(int descriptor, bool isDirectory);

}  // namespace quill::darwin
