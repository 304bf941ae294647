// A copy is made whole before it gets its name, so that neither a failure nor a kill leaves something half-made there.
// A single file is made without a name where the file system has that. Everything else is made in a staging directory,
// a hidden one of our own beside the destination, and then renamed to its place, which never replaces what is there.
// On any failure the copy is removed together with the staging directory.
#include "platform/darwin/trees/Copy.h"

#include <fcntl.h>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/trees/CopyVisitor.h"
#include "platform/darwin/trees/Placing.h"
#include "platform/darwin/trees/Removal.h"

namespace quill::darwin {
namespace {

/// Deletes an unplaced copy and the hard-link cache.
class UnplacedCopy {
 public:
  explicit UnplacedCopy(const StagingDirectory& staging) noexcept : staging_(staging) {}
  UnplacedCopy(const UnplacedCopy&) = delete;
  UnplacedCopy& operator=(const UnplacedCopy&) = delete;
  ~UnplacedCopy() {
    for (const char* name : {staging_.name(), HardLinks::kDirectoryName}) {
      if (!Remove(name)) (void)Remove(name);  // a failure that passes is survived here too
    }
  }

 private:
  bool Remove(const char* name) const {
    try {
      TreeReport nobody;
      RemoveTreeAt(staging_.descriptor(), name, nobody, RemovalMode::kOwnCopy);
      return !nobody.error();
    } catch (...) {
      return false;  // without memory the rest may stay, under a name of its own
    }
  }

  const StagingDirectory& staging_;
};

Error Place(const CopyRequest& request, int fromDirectory, const char* from) {
  const TreePath& to = request.to;
  return PlaceItem(fromDirectory, from, to.parent.get(), to.name.c_str(), request.source.IsDirectory());
}

/// Takes the right to write from a directory, as far as the file system has such rights.
Error MakeReadOnly(int directory) {
  ItemStatus status;
  if (const Error error = GetStatus(directory, status)) return error;
  const Error error = ChangeMode({directory}, status.Permissions() & ~mode_t{S_IWUSR});
  return error == EPERM || error == EOPNOTSUPP ? Error() : error;
}

/// Moving a directory to another parent needs write permission on it ("..", changes). So it leaves the staging
/// directory under a random name, loses the write bit there, and is then renamed.
Error PlaceReadOnly(const CopyRequest& request, const StagingDirectory& staging, int root) {
  const int parent = request.to.parent.get();
  std::string name;
  if (const Error error = ChooseHiddenName(name)) return error;
  if (const Error error = PlaceItem(staging.descriptor(), staging.name(), parent, name.c_str(), true)) return error;
  Error error = MakeReadOnly(root);
  if (!error) error = Place(request, parent, name.c_str());
  if (!error) return {};
  // Back to where it will be removed.
  (void)ChangeMode({root}, S_IRWXU);
  (void)Rename(parent, name.c_str(), staging.descriptor(), staging.name());
  return error;
}

Error CopyByStaging(const CopyRequest& request, TreeReport& report) {
  StagingDirectory staging;
  if (const Error error = staging.Make(request.to.parent.get())) return error;
  const UnplacedCopy unplaced(staging);
  CopyVisitor copy(request, staging, report);
  copy.Run();
  if (report.error()) return report.error();
  ItemStatus made;
  if (const Error error = GetStatusOf(staging.descriptor(), staging.name(), FinalLink::kItself, made)) return error;
  if (const Error error = ReadyToPlace(request, made)) return error;
  if (!copy.readOnlyRoot().IsOpen()) return Place(request, staging.descriptor(), staging.name());
  return PlaceReadOnly(request, staging, copy.readOnlyRoot().get());
}

}  // namespace

Error CopyItem(const CopyRequest& request, TreeReport& report) {
  if (request.source.IsFile()) {
    if (const Error error = CopyFileWithoutName(request, report); error != Error::NoSuchWay()) return error;
  }
  return report.FailAsWhole(CopyByStaging(request, report));
}

Error ReadyToPlace(const CopyRequest& request, const ItemStatus& made) {
  if (!request.copied) return {};
  *request.made = made;
  ItemStatus unused;
  return GetStatusOf(request.from.parent.get(), request.from.name.c_str(), FinalLink::kItself, unused);
}

// As with the source of a move, the item is renamed to where nobody else can exchange it, looked at there and removed.
void TakeBackCopy(const CopyRequest& request) {
  const int parent = request.to.parent.get();
  const char* name = request.to.name.c_str();
  StagingDirectory staging;
  FileDescriptor lookup;
  ItemStatus found;
  if (Open(parent, name, O_PATH | O_NOFOLLOW, lookup) || GetStatus(lookup.get(), found)) return;
  if (!found.IsSameAs(*request.made) || staging.Make(parent)) return;
  // Moving a directory needs write permission on it.
  if (found.IsDirectory() && (found.mode & S_IWUSR) == 0) (void)ChangeMode({lookup.get(), true}, S_IRWXU);
  if (Rename(parent, name, staging.descriptor(), staging.name())) return;
  ItemStatus taken;
  const Error unseen = GetStatusOf(staging.descriptor(), staging.name(), FinalLink::kItself, taken);
  if (!unseen && taken.IsSameAs(found)) {
    const UnplacedCopy removed(staging);
    return;
  }
  (void)PlaceItem(staging.descriptor(), staging.name(), parent, name, taken.IsDirectory());
}

Error SyncDirectory(int directory) {
  FileDescriptor readable;
  if (const Error error = OpenForReading(directory, readable)) {
    return error == EACCES ? Error() : error;  // a user who may not read it may not sync it either
  }
  const Error error = Sync(readable.get());
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ? Error() : error;
}

}  // namespace quill::darwin
