// The order matters. The owner comes first, as changing it takes away set-user-id bits and capabilities, and as these
// bits are only given to an item that has been seen to belong to the right owner. Then come the attributes, while the
// item is still closed to everybody else; then the permissions, which open it; and last the times, which everything
// before them changes.
#include "platform/darwin/trees/Metadata.h"

#include <linux/limits.h>

#include <algorithm>
#include <cstring>

#include "platform/darwin/descriptors/AccessList.h"

namespace quill::darwin {
namespace {

constexpr mode_t kSetIDs = S_ISUID | S_ISGID;

bool HaveSameOwner(const ItemStatus& one, const ItemStatus& other) {
  return one.owner == other.owner && one.group == other.group;
}

bool CannotBeHeld(Error error) {
  return error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == E2BIG || error == ERANGE;
}

}  // namespace

Error MetadataCopier::Copy(OpenItem from, const ItemStatus& source, OpenItem to) {
  ItemStatus made;
  if (const Error error = GetStatus(to.descriptor, made)) return error;
  return Copy(from, source, to, made);
}

Error MetadataCopier::Copy(OpenItem from, const ItemStatus& source, OpenItem to, const ItemStatus& made) {
  bool ownerKept = false;
  mode_t mode = source.Permissions();
  if (const Error error = CopyOwner(source, to, made, ownerKept)) return error;
  if (!ownerKept) mode &= ~kSetIDs;
  if (const Error error = CopyAttributes(from, source, to, mode)) return error;
  if (!source.IsLink()) {
    if (const Error error = UnlessNotKept(TreeMetadata::kPermissions, ChangeMode(to, mode))) return error;
  }
  return CopyTimes(source, to);
}

/// No error for what the target cannot hold.
Error MetadataCopier::UnlessNotKept(TreeMetadata what, Error error) {
  if (!CannotBeHeld(error)) return error;
  report_.NotKept(what, error);
  return {};
}

Error MetadataCopier::CopyOwner(const ItemStatus& source, OpenItem to, const ItemStatus& made, bool& kept) {
  kept = HaveSameOwner(made, source);
  if (kept) return {};
  const Error error = ChangeOwner(to, source.owner, source.group);
  if (!error) {
    // Some file systems accept the change and do nothing, which only matters to what runs with the owner's rights.
    ItemStatus changed;
    kept = (source.mode & kSetIDs) == 0 || (!GetStatus(to.descriptor, changed) && HaveSameOwner(changed, source));
    return {};
  }
  // A user who cannot change the owner can still set one of their groups.
  if (error == EPERM) (void)ChangeOwner(to, static_cast<uid_t>(-1), source.group);
  // EINVAL: an owner that this user namespace cannot name. ENOENT: a server that follows a dangling link.
  if (error == EINVAL || (error == ENOENT && source.IsLink())) {
    report_.NotKept(TreeMetadata::kOwner, error);
    return {};
  }
  return UnlessNotKept(TreeMetadata::kOwner, error);
}

/// Without its access control list an item would have other permissions, so that is asked for even where the names
/// cannot be listed.
void MetadataCopier::GuessNames(const ItemStatus& source, std::size_t& length) {
  constexpr char kLists[] = "system.posix_acl_access\0system.posix_acl_default";
  length = source.IsLink() ? 0 : source.IsDirectory() ? sizeof kLists : sizeof kAccessList;
  std::copy_n(kLists, length, names_.begin());
}

Error MetadataCopier::ListNames(OpenItem from, std::size_t& length) {
  Error error = ListAttributes(from, names_.data(), names_.size(), length);
  if (error == ERANGE && names_.size() < XATTR_LIST_MAX) {
    names_.resize(XATTR_LIST_MAX);
    error = ListAttributes(from, names_.data(), names_.size(), length);
  }
  // Also without /proc: a link without its attributes is still a good copy.
  const bool hasNone = error == EOPNOTSUPP || error == ENOSYS || (error == ENOENT && from.forLookupAlone);
  if (error) length = 0;
  return hasNone ? Error() : error;
}

Error MetadataCopier::CopyAttributes(OpenItem from, const ItemStatus& source, OpenItem to, mode_t& mode) {
  std::size_t length = 0;
  if (const Error unlisted = ListNames(from, length)) {
    if (const Error error = UnlessNotKept(TreeMetadata::kExtendedAttributes, unlisted)) return error;
    GuessNames(source, length);
  }
  // Under a umask that leaves its owner no rights a new file would refuse them.
  if (length > 0 && source.IsFile()) {
    const Error error = ChangeMode(to, S_IRUSR | S_IWUSR);
    if (error && !CannotBeHeld(error)) return error;
  }
  for (std::size_t at = 0; at < length; at += std::strlen(&names_[at]) + 1) {
    if (const Error error = CopyAttribute(from, &names_[at], to, mode)) return error;
  }
  return {};
}

Error MetadataCopier::GetValue(OpenItem from, const char* name, std::size_t& length) {
  const Error error = GetAttribute(from, name, value_.data(), value_.size(), length);
  if (error != ERANGE || value_.size() == XATTR_SIZE_MAX) return error;
  value_.resize(XATTR_SIZE_MAX);
  return GetAttribute(from, name, value_.data(), value_.size(), length);
}

Error MetadataCopier::CopyAttribute(OpenItem from, const char* name, OpenItem to, mode_t& mode) {
  std::size_t length = 0;
  const Error unread = GetValue(from, name, length);
  if (unread == ENODATA) return {};  // removed since it was listed
  if (unread) return UnlessNotKept(TreeMetadata::kExtendedAttributes, unread);
  const Error error = SetAttribute(to, name, value_.data(), length);
  if (CannotBeHeld(error) && std::strcmp(name, kAccessList) == 0) {
    mode = (mode & ~mode_t{S_IRWXG}) | OwningGroupBits({value_.data(), length}, mode);
  }
  return UnlessNotKept(TreeMetadata::kExtendedAttributes, error);
}

Error MetadataCopier::CopyTimes(const ItemStatus& source, OpenItem to) {
  const Error error = SetTimes(to, {source.accessed, source.modified});
  if (error == ENOENT && source.IsLink()) {
    report_.NotKept(TreeMetadata::kTimes, error);
    return {};
  }
  return UnlessNotKept(TreeMetadata::kTimes, error);
}

Error RemoveInheritedAccess(int descriptor, bool isDirectory) {
  const auto remove = [descriptor](const char* name) {
    const Error error = RemoveAttribute({descriptor}, name);
    return error == ENODATA || error == EOPNOTSUPP || error == ENOSYS ? Error() : error;
  };
  if (isDirectory) {
    if (const Error error = remove(kDefaultList)) return error;
  }
  return remove(kAccessList);
}

}  // namespace quill::darwin
