// How an item gets its final name without replacing anything. The kernel does it in one step wherever the file system
// lets it. Elsewhere a file gets the name as a second link, which is refused when the name is taken, and loses the
// first one; where there are no links either, an empty file is created exclusively, which claims the name, and is then
// replaced. A directory can neither be linked nor claimed without a trace, so it is only looked whether its name is
// free.
#include "platform/darwin/trees/Placing.h"

#include <fcntl.h>
#include <stdio.h>

#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

/// EPERM is what link(2) says where a file system has none; EMLINK and EXDEV concern this file alone.
bool LinksAreMissing(Error error) {
  return error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == EMLINK || error == EXDEV;
}

Error LinkAndUnlink(int fromDirectory, const char* from, int toDirectory, const char* to) {
  if (const Error error = Link(fromDirectory, from, toDirectory, to)) return error;
  const Error error = Unlink(fromDirectory, from);
  if (error) (void)Unlink(toDirectory, to);  // back to the one name that it had
  return error;
}

Error Claim(int directory, const char* name) {
  FileDescriptor claim;
  return Open(directory, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, claim, S_IRUSR | S_IWUSR);
}

Error RenameOverClaim(int fromDirectory, const char* from, int toDirectory, const char* to) {
  if (const Error error = Claim(toDirectory, to)) return error;
  const Error error = Rename(fromDirectory, from, toDirectory, to);
  if (error) (void)Unlink(toDirectory, to);  // the reason of the rename is the one to report
  return error;
}

/// No directory is created first to claim the name: it would stay there if the program were killed. Of what others put
/// there after the question, the kernel lets a directory replace an empty directory alone.
Error RenameDirectory(int fromDirectory, const char* from, int toDirectory, const char* to) {
  mode_t mode = 0;
  const Error missing = GetMode(toDirectory, to, AT_SYMLINK_NOFOLLOW, mode);
  if (!missing) return EEXIST;
  if (missing != ENOENT) return missing;
  const Error error = Rename(fromDirectory, from, toDirectory, to);
  return error == ENOTDIR || error == ENOTEMPTY ? EEXIST : error;
}

}  // namespace

Error RenameToFreeName(int fromDirectory, const char* from, int toDirectory, const char* to) {
  return Rename(fromDirectory, from, toDirectory, to, RENAME_NOREPLACE);
}

Error PlaceItem(int fromDirectory, const char* from, int toDirectory, const char* to, bool isDirectory) {
  Error error = RenameToFreeName(fromDirectory, from, toDirectory, to);
  if (error != EINVAL && error != ENOSYS) return error;
  if (isDirectory) return RenameDirectory(fromDirectory, from, toDirectory, to);
  error = LinkAndUnlink(fromDirectory, from, toDirectory, to);
  return LinksAreMissing(error) ? RenameOverClaim(fromDirectory, from, toDirectory, to) : error;
}

}  // namespace quill::darwin
