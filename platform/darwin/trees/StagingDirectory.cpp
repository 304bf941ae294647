#include "platform/darwin/trees/StagingDirectory.h"

#include <fcntl.h>

#include <cassert>

#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/trees/Metadata.h"

namespace quill::darwin {
namespace {

constexpr int kMostTrials = 100;

/// Makes a file that is gone when it is closed. Its descriptor shows it, whatever others do with its name.
Error OpenProbe(int directory, FileDescriptor& probe) {
  constexpr mode_t kMode = S_IRUSR | S_IWUSR;
  if (!Open(directory, ".", O_WRONLY | O_TMPFILE, probe, kMode)) return {};
  std::string name;
  if (const Error error = ChooseHiddenName(name)) return error;
  if (const Error error = Open(directory, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, probe, kMode)) {
    return error;
  }
  return Unlink(directory, name.c_str());
}

/// Whose a directory is that this process has made. Whoever may write to the parent, its owner among them, may have put
/// another one in its place before it was opened. A file system may give new items another owner than the process; what
/// it does with a file shows that.
Error CheckOwner(int parent, const ItemStatus& made) {
  if (made.owner == EffectiveUser()) return {};
  FileDescriptor probe;
  ItemStatus status;
  if (const Error error = OpenProbe(parent, probe)) return error;
  if (const Error error = GetStatus(probe.get(), status)) return error;
  return status.owner != EffectiveUser() && status.owner == made.owner ? Error() : Error::Replaced();
}

}  // namespace

StagingDirectory::~StagingDirectory() {
  if (!IsOpen()) return;
  const Error error = Unlink(parent_, name(), AT_REMOVEDIR);
  // A failure that passes is survived; with something in it, it stays.
  if (error && error != ENOTEMPTY) (void)Unlink(parent_, name(), AT_REMOVEDIR);
}

Error StagingDirectory::Make(int parent) {
  assert(!IsOpen() && "a staging directory is made once");
  parent_ = parent;
  for (int trial = 0; trial < kMostTrials; ++trial) {
    if (const Error error = ChooseHiddenName(name_)) return error;
    const Error error = MakeNewDirectory(parent, name(), open_);
    if (error != EEXIST) return error ? error : Secure();
  }
  return EEXIST;
}

Error StagingDirectory::Secure() {
  if (const Error error = GetStatus(descriptor(), status_)) return error;
  if (const Error error = CheckOwner(parent_, status_)) return error;
  rightsMissing_ = (status_.mode & S_IRWXU) != S_IRWXU;
  if ((status_.mode & ACCESSPERMS) != S_IRWXU) {
    const Error error = ChangeMode({descriptor()}, S_IRWXU);
    // A file system without permissions may refuse.
    if (error && error != EPERM && error != EOPNOTSUPP) return error;
  }
  return RemoveInheritedAccess(descriptor(), /*isDirectory=*/true);
}

}  // namespace quill::darwin
