#include "platform/darwin/trees/StagingDirectory.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

#include "platform/darwin/descriptors/OwnDirectory.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/trees/Metadata.h"

namespace quill::darwin {
namespace {

constexpr int kMostTrials = 100;

bool OthersMayExchangeEntries(int directory) {
  TreeItem item;
  if (ReadItem(directory, item) != 0) return true;
  return (item.mode & (S_IWGRP | S_IWOTH)) != 0 && (item.mode & S_ISVTX) == 0;
}

}  // namespace

int ChooseName(std::string& name) {
  unsigned char random[10];
  if (Retry([&] { return ::getrandom(random, sizeof random, 0); }) != sizeof random) return errno;
  name = ".quill-";
  for (const unsigned char byte : random) {
    name += static_cast<char>('a' + (byte & 0x0f));
    name += static_cast<char>('a' + (byte >> 4));
  }
  return 0;
}

FileDescriptor MakeDirectoryAt(int directory, const char* name) {
  if (Retry([&] { return ::mkdirat(directory, name, S_IRWXU); }) != 0) return FileDescriptor();
  FileDescriptor made = OpenOwnDirectoryAt(directory, name);
  if (made) return made;
  const int reason = errno;
  (void)::unlinkat(directory, name, AT_REMOVEDIR);  // the reason why it could not be opened is what counts
  errno = reason;
  return made;
}

PrivateDirectory::~PrivateDirectory() {
  if (!open_) return;
  const auto remove = [this] { return ::unlinkat(parent_, name(), AT_REMOVEDIR) == 0 || errno == ENOTEMPTY; };
  if (!remove()) (void)remove();  // a failure that passes is survived; with something in it, it stays
}

int PrivateDirectory::Make(int directory) {
  parent_ = directory;
  for (int trial = 0; trial < kMostTrials && !open_; ++trial) {
    if (const int error = ChooseName(ownName_)) return error;
    open_ = MakeDirectoryAt(directory, name());
    if (!open_ && errno != EEXIST) return errno;
  }
  return open_ ? Secure() : EEXIST;
}

int PrivateDirectory::Secure() {
  if (const int error = ReadItem(open_.get(), status_)) return error;
  // Somebody may have put a directory of his in its place before it was opened.
  if (status_.owner != ::geteuid() && OthersMayExchangeEntries(parent_)) return ESTALE;
  rightsMissing_ = (status_.mode & S_IRWXU) != S_IRWXU;
  if ((status_.mode & ACCESSPERMS) != S_IRWXU) {
    // A file system without permissions may refuse.
    if (Retry([&] { return ::fchmod(open_.get(), S_IRWXU); }) != 0 && errno != EPERM && errno != EOPNOTSUPP)
      return errno;
  }
  return RemoveInheritedAccess(open_.get(), /*isDirectory=*/true);
}

}  // namespace quill::darwin
