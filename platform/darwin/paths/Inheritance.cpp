#include "platform/darwin/paths/Inheritance.h"

#include <fcntl.h>

#include <utility>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

// Some file systems keep whole seconds: such a stamp may belong to any moment of its second.
std::timespec Latest(const std::timespec& stamp) noexcept {
  constexpr long kLastNanosecond = 999'999'999;
  return {stamp.tv_sec, stamp.tv_nsec == 0 ? kLastNanosecond : stamp.tv_nsec};
}

// A server's clock may lag, so a new directory can look old. An older one that was put in its place has nothing that
// could be given away while it is empty.
bool IsNew(DirectoryReader& directory, const ItemStatus& status, const std::timespec& beginning) {
  return !IsEarlier(Latest(status.Created()), beginning) || (!directory.Next() && !directory.error());
}

/// Where both may not be set together, each is tried alone.
Error SetOwnership(int directory, uid_t owner, gid_t group) {
  constexpr unsigned kUnchanged = ~0u;
  const Error together = ChangeOwner({directory}, owner, group);
  if (!together) return {};
  // A user who cannot change the owner can still set one of their groups.
  (void)ChangeOwner({directory}, kUnchanged, group);
  (void)ChangeOwner({directory}, owner, kUnchanged);
  return together;
}

// The parent is "..", which only the kernel knows for certain: by its path another directory could answer.
Error Inherit(DirectoryReader directory, const std::timespec& beginning) {
  const int open = directory.descriptor();
  ItemStatus own, holder;
  if (const Error error = GiveOwnerRights(open)) return error;  // without them not even its parent can be looked up
  if (const Error error = GetStatusOf(open, ".", FinalLink::kItself, own)) return error;
  if (const Error error = GetStatusOf(open, "..", FinalLink::kItself, holder)) return error;
  // Asked by the descriptor, as is all that follows: the path may lead elsewhere by now.
  if (!IsNew(directory, own, beginning)) return Error::Replaced();

  const Error ownerError = SetOwnership(open, holder.owner, holder.group);
  // Last, as a change of owner may clear permission bits.
  return FirstOf(ChangeMode({open}, holder.Permissions()), ownerError);
}

}  // namespace

std::timespec TimeOfNewItems() noexcept {
  std::timespec now{};
  (void)::clock_gettime(CLOCK_REALTIME_COARSE, &now);  // there since Linux 2.6.32; the clock of the stamps
  return now;
}

Error InheritOwnership(const char* path, const std::timespec& beginning) {
  FileDescriptor directory;
  const auto open = [&directory](const char* name) { return OpenNewDirectory(AT_FDCWD, name, directory); };
  if (const Error error = OnPath(path, open)) return error;
  return Inherit(DirectoryReader(std::move(directory)), beginning);
}

}  // namespace quill::darwin
