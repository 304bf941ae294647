#include "platform/darwin/descriptors/NewDirectory.h"

#include <fcntl.h>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

constexpr int kDirectory = O_DIRECTORY | O_NOFOLLOW;

}  // namespace

Error OpenNewDirectory(int directory, const char* name, FileDescriptor& opened) {
  const Error error = Open(directory, name, kDirectory | O_RDONLY, opened);
  // A umask may have taken the owner's own rights. They are given back by a descriptor that needs none (O_PATH), and
  // never by name, as the name may belong to something else by now.
  if (error != EACCES) return error;
  FileDescriptor lookup;
  if (const Error noLookup = Open(directory, name, kDirectory | O_PATH, lookup)) return noLookup;
  if (const Error refused = ChangeMode({lookup.get(), true}, S_IRWXU)) return refused;
  return Open(directory, name, kDirectory | O_RDONLY, opened);
}

Error MakeNewDirectory(int directory, const char* name, FileDescriptor& opened) {
  // For nobody else, until the caller knows whose the directory is to be.
  if (const Error error = MakeDirectory(directory, name, S_IRWXU)) return error;
  const Error error = OpenNewDirectory(directory, name, opened);
  if (error) (void)Unlink(directory, name, AT_REMOVEDIR);  // the reason why it could not be opened is what counts
  return error;
}

Error GiveOwnerRights(int directory) {
  ItemStatus status;
  if (const Error error = GetStatus(directory, status)) return error;
  // Nearly always: one question instead of a change, which would also set the time of the last change.
  if ((status.mode & S_IRWXU) == S_IRWXU) return {};
  return ChangeMode({directory}, status.Permissions() | S_IRWXU);
}

Error ChooseHiddenName(std::string& name) {
  unsigned char random[10];
  if (const Error error = FillWithRandom(random, sizeof random)) return error;
  name = ".quill-";
  for (const unsigned char byte : random) {
    name += static_cast<char>('a' + (byte & 0x0f));
    name += static_cast<char>('a' + (byte >> 4));
  }
  return {};
}

std::timespec TimeOfNewItems() noexcept {
  std::timespec now{};
  (void)::clock_gettime(CLOCK_REALTIME_COARSE, &now);  // there since Linux 2.6.32; the clock of the stamps
  return now;
}

// Some file systems keep whole seconds: such a stamp may belong to any moment of its second.
bool IsMadeSince(const ItemStatus& status, const std::timespec& beginning) noexcept {
  constexpr long kLastNanosecond = 999'999'999;
  const std::timespec made = status.Created();
  return !IsEarlier({made.tv_sec, made.tv_nsec == 0 ? kLastNanosecond : made.tv_nsec}, beginning);
}

}  // namespace quill::darwin
