// Carrying over what an item has beside its contents: owner, extended attributes (access control lists among them),
// permissions, times.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/darwin/descriptors/TreeItem.h"
#include "platform/darwin/trees/TreeObserver.h"

namespace quill::darwin {

/// An open item. One that is never opened for its contents (a link, a FIFO) is open for lookup alone (O_PATH).
struct OpenItem {
  int descriptor;
  bool forLookupAlone = false;
};

/// Hears of what the target could not hold.
class MetadataWitness {
 public:
  virtual void NotKept(TreeMetadata what, int error) = 0;

 protected:
  ~MetadataWitness() = default;
};

class MetadataCopier {
 public:
  explicit MetadataCopier(MetadataWitness& listener) : witness_(listener), names_(4096), value_(4096) {}

  /// What new items have as owner and group at the target: items that are to have the same need no change.
  void SetOwnerOfNewItems(uid_t owner, gid_t group) { newOwner_ = {owner, group}; }

  /// 0 or the errno. What the target cannot hold (not supported, not permitted) is told and does not fail.
  int Copy(OpenItem from, const TreeItem& source, OpenItem to);

 private:
  struct Owner {
    uid_t user;
    gid_t group;
  };

  int CopyOwner(const TreeItem& source, OpenItem to, bool& kept);
  int ListAttributes(OpenItem from, std::size_t& length);
  int CopyAttributes(OpenItem from, const TreeItem& source, OpenItem to, mode_t& mode);
  int CopyAttribute(OpenItem from, const char* name, OpenItem to, mode_t& mode);
  int CopyMode(mode_t mode, OpenItem to);
  int CopyTimes(const TreeItem& source, OpenItem to);
  int Verdict(TreeMetadata what, int error);

  MetadataWitness& witness_;
  std::optional<Owner> newOwner_;
  std::vector<char> names_;
  std::vector<char> value_;
};

/// Takes away what a new item has inherited from the access control list of its directory, which would open it to
/// others before its time. 0 or the errno.
int RemoveInheritedAccess(int descriptor, bool isDirectory);

}  // namespace quill::darwin
