#include "platform/darwin/trees/Metadata.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <linux/limits.h>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "platform/darwin/descriptors/DescriptorPath.h"
#include "platform/darwin/descriptors/Retry.h"

namespace quill::darwin {
namespace {

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr char kDefaultList[] = "system.posix_acl_default";

bool CannotBeHeld(int error) {
  return error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == E2BIG || error == ERANGE;
}

/// What the owning group may do beside its access control list, whose mask stands in the group bits of the mode: xattr
/// layout of linux/posix_acl_xattr.h, little-endian.
mode_t GroupBits(std::string_view list, mode_t mode) {
  constexpr std::size_t kHeader = 4;
  constexpr std::size_t kEntry = 8;
  constexpr unsigned char kOwningGroup = 0x04;
  for (std::size_t at = kHeader; at + kEntry <= list.size(); at += kEntry) {
    if (static_cast<unsigned char>(list[at]) != kOwningGroup || list[at + 1] != 0) continue;
    return mode & (static_cast<mode_t>(list[at + 2]) & 07) << 3;
  }
  return 0;
}

ssize_t GetAttribute(OpenItem item, const char* name, std::vector<char>& value) {
  if (item.forLookupAlone) return ::getxattr(DescriptorPath(item.descriptor).text, name, value.data(), value.size());
  return ::fgetxattr(item.descriptor, name, value.data(), value.size());
}

int SetAttribute(OpenItem item, const char* name, const void* value, std::size_t size) {
  return Retry([&] {
    if (item.forLookupAlone) return ::setxattr(DescriptorPath(item.descriptor).text, name, value, size, 0);
    return ::fsetxattr(item.descriptor, name, value, size, 0);
  });
}

int ChangeOwner(OpenItem item, uid_t user, gid_t group) {
  return Retry([&] { return ::fchownat(item.descriptor, "", user, group, AT_EMPTY_PATH); }) == 0 ? 0 : errno;
}

int ChangeMode(OpenItem item, mode_t mode) {
  const int result = Retry([&] {
    return item.forLookupAlone ? ::chmod(DescriptorPath(item.descriptor).text, mode) : ::fchmod(item.descriptor, mode);
  });
  return result == 0 ? 0 : errno;
}

}  // namespace

int MetadataCopier::Copy(OpenItem from, const TreeItem& source, OpenItem to) {
  bool ownerKept = true;
  mode_t mode = source.mode & 07777;
  // The owner first, as changing it takes away set-user-id bits and capabilities; the permissions open the item at
  // last.
  if (const int error = CopyOwner(source, to, ownerKept)) return error;
  if (!ownerKept) mode &= ~mode_t{S_ISUID | S_ISGID};
  if (const int error = CopyAttributes(from, source, to, mode)) return error;
  if (!source.IsLink()) {
    if (const int error = CopyMode(mode, to)) return error;
  }
  return CopyTimes(source, to);
}

/// 0 for what the target cannot hold.
int MetadataCopier::Verdict(TreeMetadata what, int error) {
  if (!CannotBeHeld(error)) return error;
  witness_.NotKept(what, error);
  return 0;
}

int MetadataCopier::CopyOwner(const TreeItem& source, OpenItem to, bool& kept) {
  if (newOwner_ && newOwner_->user == source.owner && newOwner_->group == source.group) return 0;
  const int error = ChangeOwner(to, source.owner, source.group);
  if (error == 0) return 0;
  kept = false;
  // Who may not give a file away may still give it to another of his groups.
  if (error == EPERM) (void)ChangeOwner(to, static_cast<uid_t>(-1), source.group);
  // EINVAL: an owner that this user namespace cannot name. ENOENT: a server that follows a dangling link.
  if (error == EINVAL || (error == ENOENT && source.IsLink())) {
    witness_.NotKept(TreeMetadata::kOwner, error);
    return 0;
  }
  return Verdict(TreeMetadata::kOwner, error);
}

int MetadataCopier::ListAttributes(OpenItem from, std::size_t& length) {
  length = 0;
  for (;;) {
    const ssize_t got = Retry([&] {
      if (from.forLookupAlone) return ::listxattr(DescriptorPath(from.descriptor).text, names_.data(), names_.size());
      return ::flistxattr(from.descriptor, names_.data(), names_.size());
    });
    if (got >= 0) {
      length = static_cast<std::size_t>(got);
      return 0;
    }
    // Also without /proc: a link without its attributes is still a good copy.
    if (errno == EOPNOTSUPP || errno == ENOSYS || (errno == ENOENT && from.forLookupAlone)) return 0;
    if (errno != ERANGE || names_.size() == XATTR_LIST_MAX) return errno;
    names_.resize(XATTR_LIST_MAX);
  }
}

int MetadataCopier::CopyAttributes(OpenItem from, const TreeItem& source, OpenItem to, mode_t& mode) {
  std::size_t length = 0;
  if (const int error = ListAttributes(from, length)) return error;
  // Under a umask that leaves its owner no rights a new file would refuse them.
  if (length > 0 && source.IsFile()) {
    const int error = ChangeMode(to, S_IRUSR | S_IWUSR);
    if (error != 0 && !CannotBeHeld(error)) return error;
  }
  for (std::size_t at = 0; at < length; at += std::strlen(&names_[at]) + 1) {
    if (const int error = CopyAttribute(from, &names_[at], to, mode)) return error;
  }
  return 0;
}

int MetadataCopier::CopyAttribute(OpenItem from, const char* name, OpenItem to, mode_t& mode) {
  ssize_t size = Retry([&] { return GetAttribute(from, name, value_); });
  if (size < 0 && errno == ERANGE) {
    value_.resize(XATTR_SIZE_MAX);
    size = Retry([&] { return GetAttribute(from, name, value_); });
  }
  if (size < 0 && errno == ENODATA) return 0;  // removed since it was listed
  if (size < 0) return Verdict(TreeMetadata::kExtendedAttributes, errno);
  const auto length = static_cast<std::size_t>(size);
  if (SetAttribute(to, name, value_.data(), length) == 0) return 0;
  const int error = errno;
  if (CannotBeHeld(error) && std::strcmp(name, kAccessList) == 0) {
    mode = (mode & ~mode_t{S_IRWXG}) | GroupBits({value_.data(), length}, mode);
  }
  return Verdict(TreeMetadata::kExtendedAttributes, error);
}

int MetadataCopier::CopyMode(mode_t mode, OpenItem to) {
  return Verdict(TreeMetadata::kPermissions, ChangeMode(to, mode));
}

int MetadataCopier::CopyTimes(const TreeItem& source, OpenItem to) {
  const std::timespec times[] = {source.accessed, source.modified};
  const int result = Retry([&] {
    return to.forLookupAlone ? ::utimensat(to.descriptor, "", times, AT_EMPTY_PATH) : ::futimens(to.descriptor, times);
  });
  if (result == 0) return 0;
  if (errno == ENOENT && source.IsLink()) {
    witness_.NotKept(TreeMetadata::kTimes, ENOENT);
    return 0;
  }
  return Verdict(TreeMetadata::kTimes, errno);
}

int RemoveInheritedAccess(int descriptor, bool isDirectory) {
  const auto remove = [descriptor](const char* name) {
    const bool gone = Retry([&] { return ::fremovexattr(descriptor, name); }) == 0;
    return gone || errno == ENODATA || errno == EOPNOTSUPP || errno == ENOSYS ? 0 : errno;
  };
  if (isDirectory) {
    if (const int error = remove(kDefaultList)) return error;
  }
  return remove(kAccessList);
}

}  // namespace quill::darwin
