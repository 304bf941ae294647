// Within a file system a move is one rename that replaces nothing. To another file system the tree is copied, the copy
// is made durable and put in place, and then the source is removed. For the removal the source is first renamed into a
// quarantine, a staging directory beside it, where nobody else can exchange what is in it between the look at it and
// its removal. Only what was copied is removed, in the state in which it was copied; what is left goes back to its old
// name. That rename also decides between two moves of one source: the second finds nothing, fails, and takes its copy
// back.
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
  Quarantine(const TreePath& from, const StagingDirectory& staging) : from_(from), staging_(staging) {}
  Quarantine(const Quarantine&) = delete;
  Quarantine& operator=(const Quarantine&) = delete;
  ~Quarantine() {
    ItemStatus rest;
    if (!holdsSource_) return;
    if (GetStatusOf(staging_.descriptor(), staging_.name(), FinalLink::kItself, rest) == ENOENT) return;
    // If the name is taken by now, it stays where it is, under a name of its own.
    (void)PlaceItem(staging_.descriptor(), staging_.name(), from_.parent.get(), from_.name.c_str(), rest.IsDirectory());
  }

  /// ENOENT when the source is gone: somebody else has moved or removed it. Otherwise it is in the quarantine, or where
  /// it was if it cannot be renamed.
  Error TakeSource() {
    const int parent = from_.parent.get();
    const char* name = from_.name.c_str();
    if (staging_.IsOpen()) holdsSource_ = !Rename(parent, name, staging_.descriptor(), staging_.name());
    ItemStatus unused;
    return holdsSource_ ? Error() : GetStatusOf(parent, name, FinalLink::kItself, unused);
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

/// A source that is no directory, asked before its rename into the quarantine changes its times. True as well when that
/// cannot be seen.
bool HasFileChanged(const MoveRequest& request, const CopiedItems& copied) {
  ItemStatus now;
  if (request.source.IsDirectory()) return false;
  const Error error = GetStatusOf(request.from.parent.get(), request.from.name.c_str(), FinalLink::kItself, now);
  if (error) return error != ENOENT;
  return copied.StateOf(now) == SourceState::kChanged;
}

/// \p wasOurs is false when somebody else had the source before anything of it was removed.
Error RemoveSource(const MoveRequest& request, const StagingDirectory& staging, CopiedItems& copied, TreeReport& report,
                   bool& wasOurs) {
  Quarantine quarantine(request.from, staging);
  copied.Sort();
  if (HasFileChanged(request, copied)) return EBUSY;
  if (const Error error = quarantine.TakeSource()) return error;
  report.BeginRemovalOfSource();
  const bool isThere = quarantine.HoldsSource();
  ItemStatus renamed;
  if (isThere && !GetStatusOf(staging.descriptor(), staging.name(), FinalLink::kItself, renamed)) {
    copied.NoteOwnChange(renamed);
  }
  RemoveCopiedTreeAt(isThere ? staging.descriptor() : request.from.parent.get(),
                     isThere ? staging.name() : request.from.name.c_str(), report, copied, request.to);
  wasOurs = isThere || request.source.IsDirectory() || report.error() != ENOENT;
  return report.error();
}

Error MoveAcross(const MoveRequest& request, TreeReport& report) {
  if (request.source.isMountRoot) return EBUSY;
  if (request.source.IsDirectory() && Holds(request.source, request.to.parent.get())) return EINVAL;
  StagingDirectory staging;
  if (const Error error = PrepareQuarantine(request, staging)) return error;
  // The time when the quarantine was made; without one, every file is compared by its contents.
  CopiedItems copied(staging.status().changed);
  ItemStatus made;
  const CopyRequest copy{request.from, request.source, request.to, &copied, &made};
  if (const Error error = CopyItem(copy, report)) return error;
  if (const Error error = SyncDirectory(request.to.parent.get())) return error;
  bool wasOurs = false;
  const Error error = RemoveSource(request, staging, copied, report, wasOurs);
  if (!wasOurs && error == ENOENT) TakeBackCopy(copy);
  return error;
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
