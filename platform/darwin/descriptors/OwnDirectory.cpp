#include "platform/darwin/descriptors/OwnDirectory.h"

#include <fcntl.h>

#include "platform/darwin/descriptors/DescriptorPath.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/descriptors/TreeItem.h"

namespace quill::darwin {
namespace {

FileDescriptor OpenDirectoryAt(int directory, const char* name, int access) {
  const int flags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | access;
  return FileDescriptor(Retry([&] { return ::openat(directory, name, flags); }));
}

FileDescriptor OpenClosedDirectoryAt(int directory, const char* name) {
  const FileDescriptor lookup = OpenDirectoryAt(directory, name, O_PATH);
  const DescriptorPath path(lookup.get());
  if (!lookup || Retry([&] { return ::chmod(path.text, S_IRWXU); }) != 0) return FileDescriptor();
  return OpenDirectoryAt(directory, name, O_RDONLY);
}

}  // namespace

FileDescriptor OpenOwnDirectoryAt(int directory, const char* name) {
  FileDescriptor open = OpenDirectoryAt(directory, name, O_RDONLY);
  return !open && errno == EACCES ? OpenClosedDirectoryAt(directory, name) : std::move(open);
}

int GiveOwnerRights(int directory) {
  TreeItem item;
  if (const int error = ReadItem(directory, item)) return error;
  if ((item.mode & S_IRWXU) == S_IRWXU) return 0;
  return Retry([&] { return ::fchmod(directory, (item.mode & ALLPERMS) | S_IRWXU); }) == 0 ? 0 : errno;
}

}  // namespace quill::darwin
