#include "platform/darwin/paths/Inheritance.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/OwnDirectory.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/paths/ItemStatus.h"

namespace quill::darwin {
namespace {

// Some file systems keep whole seconds: such a stamp may belong to any moment of its second.
std::timespec Latest(const std::timespec& stamp) noexcept {
  constexpr long kLastNanosecond = 999'999'999;
  return {stamp.tv_sec, stamp.tv_nsec == 0 ? kLastNanosecond : stamp.tv_nsec};
}

// Servers have clocks of their own, by which what they have just made may seem old. Of an older directory, put in
// its place by somebody else, nothing is given away while it is empty.
bool IsNew(DirectoryReader& directory, const ItemStatus& status, const std::timespec& beginning) {
  return !IsEarlier(Latest(status.created), beginning) || (!directory.Next() && directory.error() == 0);
}

int ChangeOwner(int directory, ::uid_t owner, ::gid_t group) {
  return Retry([&] { return ::fchown(directory, owner, group); }) == 0 ? 0 : errno;
}

// Where both may not be set together, each is tried alone.
int SetOwnership(int directory, ::uid_t owner, ::gid_t group) {
  constexpr unsigned kUnchanged = ~0u;
  const int together = ChangeOwner(directory, owner, group);
  if (together == 0) return 0;
  (void)ChangeOwner(directory, kUnchanged, group);  // an ordinary user may give a file to another of his groups
  (void)ChangeOwner(directory, owner, kUnchanged);
  return together;
}

int Inherit(DirectoryReader directory, const std::timespec& beginning) {
  const int open = directory.descriptor();
  ItemStatus own, holder;
  if (const int error = GiveOwnerRights(open)) return error;  // without them not even its parent can be looked up
  if (const int error = GetItemStatusAt(open, ".", FinalLink::kItself, own)) return error;
  if (const int error = GetItemStatusAt(open, "..", FinalLink::kItself, holder)) return error;
  if (!IsNew(directory, own, beginning)) return ESTALE;

  const int ownerError = SetOwnership(open, holder.owner, holder.group);
  // Last, as a change of owner may clear permission bits.
  const bool hasMode = Retry([&] { return ::fchmod(open, holder.mode & ALLPERMS); }) == 0;
  return hasMode ? ownerError : errno;
}

}  // namespace

std::timespec TimeOfNewItems() noexcept {
  std::timespec now{};
  (void)::clock_gettime(CLOCK_REALTIME_COARSE, &now);  // there since Linux 2.6.32; the clock of the stamps
  return now;
}

int InheritOwnership(const char* path, const std::timespec& beginning) {
  if (!path) return EFAULT;
  int error = 0;
  const auto inherit = [&](const char* name) {
    FileDescriptor directory = OpenOwnDirectoryAt(AT_FDCWD, name);
    if (!directory) return -1;
    error = Inherit(DirectoryReader(std::move(directory)), beginning);
    return 0;
  };
  return OnItem(path, inherit) == 0 ? error : errno;
}

}  // namespace quill::darwin
