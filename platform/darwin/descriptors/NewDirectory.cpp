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
  if (error != EACCES) return error;
  FileDescriptor lookup;
  if (const Error noLookup = Open(directory, name, kDirectory | O_PATH, lookup)) return noLookup;
  if (const Error refused = ChangeMode({lookup.get(), true}, S_IRWXU)) return refused;
  return Open(directory, name, kDirectory | O_RDONLY, opened);
}

Error MakeNewDirectory(int directory, const char* name, FileDescriptor& opened) {
  if (const Error error = MakeDirectory(directory, name, S_IRWXU)) return error;
  const Error error = OpenNewDirectory(directory, name, opened);
  if (error) (void)Unlink(directory, name, AT_REMOVEDIR);  // the reason why it could not be opened is what counts
  return error;
}

Error GiveOwnerRights(int directory) {
  ItemStatus status;
  if (const Error error = GetStatus(directory, status)) return error;
  if ((status.mode & S_IRWXU) == S_IRWXU) return {};
  return ChangeMode({directory}, status.Permissions() | S_IRWXU);
}

}  // namespace quill::darwin
