// Within a file system a move is one rename that replaces nothing. To another file system the tree is copied, the copy
// is made durable and put in place, and then the source is removed. For the removal the source is first renamed into a
// quarantine, a staging directory beside it, where nobody else can exchange what is in it between the look at it and
// its removal. Only what was copied is removed, in the state in which it was copied; what is left goes back to its old
// name.
#include "platform/darwin/trees/Move.h"

#include <fcntl.h>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/trees/Copy.h"
#include "platform/darwin/trees/Placing.h"
#include "platform/darwin/trees/Removal.h"
#include "platform/darwin/trees/StagingDirectory.h"

namespace quill::darwin {
namespace {

/// The source on its way out.
class Quarantine {
 public:
  Quarantine(const TreePath& from, const StagingDirectory& staging) : from_(from), staging_(staging) {
    if (!staging.IsOpen()) return;
    holdsSource_ = !Rename(from.parent.get(), from.name.c_str(), staging.descriptor(), staging.name());
  }
  Quarantine(const Quarantine&) = delete;
  Quarantine& operator=(const Quarantine&) = delete;
  ~Quarantine() {
    ItemStatus rest;
    if (!holdsSource_) return;
    if (GetStatusOf(staging_.descriptor(), staging_.name(), FinalLink::kItself, rest) == ENOENT) return;
    // If the name is taken by now, it stays where it is, under a name of its own.
    (void)PlaceItem(staging_.descriptor(), staging_.name(), from_.parent.get(), from_.name.c_str(), rest.IsDirectory());
  }

  bool HoldsSource() const noexcept { return holdsSource_; }

 private:
  const TreePath& from_;
  const StagingDirectory& staging_;
  bool holdsSource_ = false;
};

/// Whether the directory has an entry of exactly these bytes; true as well when that cannot be seen.
bool HasEntry(int directory, const std::string& name) {
  FileDescriptor open;
  if (OpenForReading(directory, open)) return true;
  DirectoryReader reader(std::move(open));
  while (const auto* entry = reader.Next()) {
    if (name == entry->name) return true;
  }
  return static_cast<bool>(reader.error());
}

/// Makes the quarantine before copying, so that a refusal costs nothing. Without space go on: the source can be removed
/// in place.
Error PrepareQuarantine(const MoveRequest& request, StagingDirectory& staging) {
  const Error error = staging.Make(request.from.parent.get());
  return error == ENOSPC || error == EDQUOT || error == EMLINK ? Error() : error;
}

Error RemoveSource(const MoveRequest& request, const StagingDirectory& staging, CopiedItems& copied,
                   TreeReport& report) {
  report.BeginRemovalOfSource();
  copied.Sort();
  const Quarantine quarantine(request.from, staging);
  const bool isThere = quarantine.HoldsSource();
  RemoveCopiedTreeAt(isThere ? staging.descriptor() : request.from.parent.get(),
                     isThere ? staging.name() : request.from.name.c_str(), report, copied);
  return report.error();
}

Error MoveAcross(const MoveRequest& request, TreeReport& report) {
  if (request.source.isMountRoot) return EBUSY;
  if (request.source.IsDirectory() && Holds(request.source, request.to.parent.get())) return EINVAL;
  StagingDirectory staging;
  if (const Error error = PrepareQuarantine(request, staging)) return error;
  CopiedItems copied;
  if (const Error error = CopyItem({request.from, request.source, request.to, &copied}, report)) return error;
  if (const Error error = SyncDirectory(request.to.parent.get())) return error;
  return RemoveSource(request, staging, copied, report);
}

}  // namespace

Error MoveItem(const MoveRequest& request, TreeReport& report) {
  const int fromDirectory = request.from.parent.get();
  const int toDirectory = request.to.parent.get();
  const char* from = request.from.name.c_str();
  const char* to = request.to.name.c_str();
  const bool isDirectory = request.source.IsDirectory();
  Error error = RenameToFreeName(fromDirectory, from, toDirectory, to);
  if (error == EINVAL || error == ENOSYS) {
    if (isDirectory && Holds(request.source, toDirectory)) return EINVAL;
    error = PlaceItem(fromDirectory, from, toDirectory, to, isDirectory);
  }
  if (error == EXDEV) return MoveAcross(request, report);  // a union of file systems may say so only the second time
  if (!error) (void)report.Finished(1);                    // there is nothing left to stop
  return error;
}

Error ChangeSpelling(const MoveRequest& request, const std::string& existingName) {
  const int directory = request.from.parent.get();
  const char* from = request.from.name.c_str();
  const char* to = request.to.name.c_str();
  const bool isDirectory = request.source.IsDirectory();
  ItemStatus existing;
  if (existingName != to || existingName == from) return EEXIST;
  if (GetStatusOf(directory, to, FinalLink::kItself, existing)) return EEXIST;
  if (!existing.IsSameAs(request.source) || HasEntry(directory, request.to.name)) return EEXIST;
  std::string between;
  if (const Error error = ChooseHiddenName(between)) return error;
  if (const Error error = PlaceItem(directory, from, directory, between.c_str(), isDirectory)) return error;
  const Error error = PlaceItem(directory, between.c_str(), directory, to, isDirectory);
  if (error) (void)PlaceItem(directory, between.c_str(), directory, from, isDirectory);
  return error;
}

}  // namespace quill::darwin
