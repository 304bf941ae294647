#include <fcntl.h>

#include <cstdio>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/trees/Copy.h"
#include "platform/darwin/trees/Placing.h"
#include "platform/darwin/trees/Removal.h"
#include "platform/darwin/trees/StagingDirectory.h"
#include "platform/darwin/trees/TreePath.h"
#include "platform/darwin/trees/Trees.h"

namespace quill::darwin {
namespace {

struct Move {
  TreePath from;
  TreeItem item;
  TreePath to;
  /// The name under which something stands at the target already.
  std::string standing;
};

/// The source on its way out: in a directory of our own, where nobody can exchange what is in it between the look at it
/// and its removal. What is left of it goes back to its old name.
class SetAside {
 public:
  SetAside(const Move& theMove, const PrivateDirectory& directory)
      : move_(theMove),
        aside_(directory),
        isThere_(directory && Retry([&] {
                                return ::renameat(theMove.from.parent.get(), theMove.from.name.c_str(),
                                                  directory.descriptor(), directory.name());
                              }) == 0) {}
  SetAside(const SetAside&) = delete;
  SetAside& operator=(const SetAside&) = delete;
  ~SetAside() {
    TreeItem rest;
    if (!isThere_ || ReadItem(aside_.descriptor(), aside_.name(), rest) == ENOENT) return;
    // If somebody has taken the name, it stays where it is, under a name of its own.
    (void)PlaceItem(aside_.descriptor(), aside_.name(), move_.from.parent.get(), move_.from.name.c_str(),
                    rest.IsDirectory());
  }

  explicit operator bool() const noexcept { return isThere_; }

 private:
  const Move& move_;
  const PrivateDirectory& aside_;
  const bool isThere_;
};

bool StandsInSameDirectory(const Move& move) {
  TreeItem from;
  TreeItem to;
  if (ReadItem(move.from.parent.get(), from) != 0 || ReadItem(move.to.parent.get(), to) != 0) return false;
  return from.IsSameAs(to);
}

/// Whether the directory has an entry of exactly these bytes; true as well when that cannot be seen.
bool HasEntry(int directory, const std::string& name) {
  FileDescriptor open(Retry([&] { return ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!open) return true;
  DirectoryReader reader(std::move(open));
  while (const auto* entry = reader.Next()) {
    if (name == entry->name) return true;
  }
  return reader.error() != 0;
}

/// On a file system that does not tell upper from lower case the item stands in the way of its own new name.
int Respell(const Move& move) {
  const int directory = move.from.parent.get();
  TreeItem there;
  if (move.standing != move.to.name || move.standing == move.from.name) return EEXIST;
  if (ReadItem(directory, move.standing.c_str(), there) != 0) return EEXIST;
  if (!there.IsSameAs(move.item) || HasEntry(directory, move.to.name)) return EEXIST;
  std::string between;
  if (const int error = ChooseName(between)) return error;
  const bool isDirectory = move.item.IsDirectory();
  if (const int error = PlaceItem(directory, move.from.name.c_str(), directory, between.c_str(), isDirectory)) {
    return error;
  }
  const int error = PlaceItem(directory, between.c_str(), directory, move.to.name.c_str(), isDirectory);
  if (error != 0) (void)PlaceItem(directory, between.c_str(), directory, move.from.name.c_str(), isDirectory);
  return error;
}

/// Asked first, so that nothing is copied in vain. A full disk does not hinder: its items may go without the help.
int PrepareRemoval(const Move& move, PrivateDirectory& aside) {
  const int error = aside.Make(move.from.parent.get());
  return error == ENOSPC || error == EDQUOT || error == EMLINK ? 0 : error;
}

void RemoveSource(const Move& move, const PrivateDirectory& aside, CopiedItems& copied, TreeReport& report) {
  report.BeginRemovalOfSource();
  copied.Sort();
  const SetAside source(move, aside);
  if (source) {
    RemoveCopiedTreeAt(aside.descriptor(), aside.name(), move.from.text, report, copied);
    return;
  }
  RemoveCopiedTreeAt(move.from.parent.get(), move.from.name.c_str(), move.from.text, report, copied);
}

int MoveAcross(const Move& move, TreeReport& report) {
  if (move.item.isMountRoot) return EBUSY;
  if (move.item.IsDirectory() && Holds(move.item, move.to.parent.get())) return EINVAL;
  PrivateDirectory aside;
  if (const int error = PrepareRemoval(move, aside)) return error;
  CopiedItems copied;
  CopyItem({move.from, move.item, move.to, &copied}, report);
  if (report.error() != 0) return report.error();
  if (const int error = SyncDirectory(move.to.parent.get())) return error;
  RemoveSource(move, aside, copied, report);
  return report.error();
}

int Rename(const Move& move, TreeReport& report) {
  const int fromDirectory = move.from.parent.get();
  const int toDirectory = move.to.parent.get();
  const char* from = move.from.name.c_str();
  const char* to = move.to.name.c_str();
  int error = RenameToFreeName(fromDirectory, from, toDirectory, to);
  if (error == EINVAL || error == ENOSYS) {
    if (move.item.IsDirectory() && Holds(move.item, toDirectory)) return EINVAL;
    error = PlaceItem(fromDirectory, from, toDirectory, to, move.item.IsDirectory());
  }
  if (error == EXDEV) return MoveAcross(move, report);  // a union of file systems may tell only in the second attempt
  if (error == 0) (void)report.Finished(1);             // there is nothing left to stop
  return error;
}

int Run(const char* fromText, const char* toText, TreeReport& report) {
  Move move;
  if (const int error = FindItemToTake(fromText, move.from, move.item)) return error;
  const int error = FindFreePlace(toText, move.to, move.standing);
  if (error == EEXIST && !move.standing.empty() && StandsInSameDirectory(move)) {
    // Its own name in another normalization is free, as far as the kernel is concerned.
    const bool isRespelled = move.standing == move.from.name && move.standing != move.to.name;
    return isRespelled ? Rename(move, report) : Respell(move);
  }
  if (error != 0) return error;
  if (move.to.demandsDirectory && !move.item.IsDirectory()) return ENOTDIR;
  return Rename(move, report);
}

}  // namespace

int MoveTree(const char* fromText, const char* toText) {
  TreeReport report;
  const int error = Run(fromText, toText, report);
  return report.FailAsWhole(fromText, error);
}

}  // namespace quill::darwin
