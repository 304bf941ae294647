// An entry is unlinked without asking what it is, unless its directory says that it is a directory; only what resists
// is looked at. A directory is removed when everything in it is gone. Some file systems skip entries when others are
// removed while they are read, so a directory that is not empty at its end is read again as long as that helps. What
// cannot be removed stays, and the rest goes on. After a move to another file system only those items are removed that
// were copied, in the state in which they were copied.
#include "platform/darwin/trees/Removal.h"

#include <dirent.h>
#include <fcntl.h>

#include <set>
#include <vector>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/trees/Contents.h"
#include "platform/darwin/trees/Walk.h"

namespace quill::darwin {
namespace {

// A directory in which others create as fast as we remove is given up some time.
constexpr int kMostPasses = 64;

class Removal final : public TreeVisitor {
 public:
  /// Everything when \p copied and \p copy are null.
  Removal(TreeReport& report, RemovalMode mode, CopiedItems* copied, const TreePath* copy)
      : report_(report), mode_(mode), copied_(copied), copy_(copy), walk_(*this, report) {}

  void Run(int parent, const char* name) {
    passes_.emplace_back();
    walk_.Run(parent, name);
  }

 private:
  // What happened since the directory was last read from its beginning.
  struct Pass {
    bool removedSomething = false;
    bool failed = false;
    /// Directories that resisted: a later pass does not try them again.
    std::set<std::uint64_t> resisting;
  };

  Next Visit(TreeLevel& in, const DirectoryReader::Entry& entry) override {
    if (entry.type == DT_DIR) return passes_.back().resisting.contains(entry.inode) ? Next::kGoOn : Next::kGoInto;
    return copied_ ? VisitCopied(in, entry.name) : RemoveEntry(in, entry.name);
  }

  Next VisitCopied(TreeLevel& in, const char* name) {
    ItemStatus status;
    if (const Error error = GetStatusOf(in.descriptor(), name, FinalLink::kItself, status)) {
      return error == ENOENT && !IsSource(in) ? Next::kGoOn : Fail(error);
    }
    if (status.IsDirectory()) return Next::kGoInto;
    if (const Error error = CheckUnchanged(in, name, status)) return Fail(error);
    return status.links > 1 ? RemoveLink(in, name, status) : RemoveEntry(in, name);
  }

  /// Changes the times of the other links to the file, which are still to be recognised.
  Next RemoveLink(TreeLevel& in, const char* name, const ItemStatus& expected) {
    FileDescriptor file;
    ItemStatus before, after;
    const Error unopened = walk_.OpenIn(in.descriptor(), name, O_PATH | O_NOFOLLOW, file);
    const bool isKnown = !unopened && !GetStatus(file.get(), before) && before.IsSameAs(expected);
    const bool isSame = isKnown && !IsEarlier(expected.changed, before.changed);
    const Next next = RemoveEntry(in, name);
    // If that cannot be seen, the next link is compared by its contents.
    if (isSame && !GetStatus(file.get(), after) && after.links < before.links) copied_->NoteOwnChange(after);
    return next;
  }

  /// The same name in the copy.
  Error OpenInCopy(const TreeLevel& in, const char* name, int flags, FileDescriptor& opened) {
    const bool isRoot = walk_.IsOutside(in);
    const int directory = isRoot ? copy_->parent.get() : in.counterpart.get();
    return walk_.OpenIn(directory, isRoot ? copy_->name.c_str() : name, flags | O_RDONLY | O_NOFOLLOW | O_NONBLOCK,
                        opened);
  }

  /// EBUSY when the entry is not as it was copied.
  Error CheckUnchanged(const TreeLevel& in, const char* name, const ItemStatus& status) {
    const SourceState state = copied_->StateOf(status);
    if (state == SourceState::kPerhapsChanged) return CompareWithCopy(in, name, status);
    return state == SourceState::kChanged ? EBUSY : 0;
  }

  Error CompareWithCopy(const TreeLevel& in, const char* name, const ItemStatus& before) {
    FileDescriptor source, copy;
    ItemStatus after;
    bool same = false;
    const auto open = [&] { return OpenWithoutWaiting(in.descriptor(), name, O_RDONLY | O_NOFOLLOW, source); };
    if (const Error error = walk_.WithDescriptor(open)) return error;
    if (const Error error = OpenInCopy(in, name, 0, copy)) return error;
    if (const Error error = HaveSameContents(source.get(), copy.get(), same)) return error;
    if (const Error error = GetStatus(source.get(), after)) return error;
    // Nor must it have changed while it was compared.
    same &= after.IsSameAs(before) && !IsEarlier(before.changed, after.changed) &&
            !IsEarlier(after.changed, before.changed);
    return same ? 0 : EBUSY;
  }

  Next RemoveEntry(TreeLevel& in, const char* name) {
    const Error error = Remove(in, name, 0);
    if (!error) return Removed();
    // Where nothing may be removed the kernel says that first; what is in the directory may go all the same.
    return error == EISDIR || IsDirectory(in, name) ? Next::kGoInto : Fail(error);
  }

  Next OpenFailed(TreeLevel& in, const char* name, Error error) override {
    if (error == ENOENT) return IsSource(in) ? Fail(error) : Next::kGoOn;
    if (error == Error::Replaced()) return copied_ ? Fail(EBUSY) : AfterExchange(Remove(in, name, 0));
    if (mode_ == RemovalMode::kOwnCopy && !GiveRights(in, name)) return Next::kGoInto;
    // An empty directory can be removed without being read.
    if (!copied_ && !Remove(in, name, AT_REMOVEDIR)) return Removed();
    return Fail(error);
  }

  Next Enter(TreeLevel& in, TreeLevel& directory) override {
    const bool cameLater = copied_ && copied_->StateOf(directory.status) == SourceState::kChanged;
    if (directory.status.isMountRoot || cameLater) return Fail(EBUSY);
    if (copied_ && copied_->mayNeedContents()) {
      const Error error = OpenInCopy(in, directory.name.c_str(), O_DIRECTORY, directory.counterpart);
      if (error) return Fail(error);
    }
    passes_.emplace_back();
    if (mode_ == RemovalMode::kOwnCopy && (directory.status.mode & S_IRWXU) != S_IRWXU) {
      (void)ChangeMode({directory.descriptor()}, S_IRWXU);  // the removals show whether it helped
    }
    return Next::kGoInto;
  }

  Next Leave(TreeLevel& in, TreeLevel& directory, Error readError) override {
    if (readError) Fail(readError);
    const Error error = Remove(in, directory.name.c_str(), AT_REMOVEDIR);
    Pass& pass = passes_.back();
    const bool isNotEmpty = error == ENOTEMPTY || error == EEXIST;
    if (isNotEmpty && pass.removedSomething && directory.pass < kMostPasses) {
      pass.removedSomething = pass.failed = false;
      return Next::kReadAgain;
    }
    const bool failed = pass.failed;
    passes_.pop_back();
    if (error == ENOTDIR && !copied_) return AfterExchange(Remove(in, directory.name.c_str(), 0));
    if (!error) return Removed();
    passes_.back().resisting.insert(directory.status.inode);
    passes_.back().failed = true;
    return failed ? Next::kGoOn : Fail(error);
  }

  void PathLost(Error error) override { Fail(error); }

  /// Through a descriptor, as a link could be there by now.
  static Error GiveRights(TreeLevel& in, const char* name) {
    FileDescriptor directory;
    constexpr int kLookUp = O_PATH | O_DIRECTORY | O_NOFOLLOW;
    if (const Error error = Open(in.descriptor(), name, kLookUp, directory)) return error;
    return ChangeMode({directory.get(), true}, S_IRWXU);
  }

  static bool IsDirectory(TreeLevel& in, const char* name) {
    mode_t mode = 0;
    return !GetMode(in.descriptor(), name, AT_SYMLINK_NOFOLLOW, mode) && S_ISDIR(mode);
  }

  /// Whether the entries of \p in are what is moved as a whole, which one mover alone may have.
  bool IsSource(const TreeLevel& in) const { return copied_ && walk_.IsOutside(in); }

  /// Succeeds as well when another process was faster, except at the source of a move.
  Error Remove(TreeLevel& in, const char* name, int flags) const {
    const Error error = Unlink(in.descriptor(), name, flags);
    return error == ENOENT && !IsSource(in) ? Error() : error;
  }

  Next AfterExchange(Error error) { return error ? Fail(error) : Removed(); }

  Next Removed() {
    passes_.back().removedSomething = true;
    const bool isAll = passes_.size() == 1;  // there is nothing left to stop
    if (report_.Finished(1) || isAll) return Next::kGoOn;
    Fail(ECANCELED);
    return Next::kStop;
  }

  Next Fail(Error error) {
    passes_.back().failed = true;
    report_.Fail(error);
    return Next::kGoOn;
  }

  TreeReport& report_;
  const RemovalMode mode_;
  CopiedItems* const copied_;
  const TreePath* const copy_;
  TreeWalk walk_;
  /// One for each directory that the walk is in, beginning with the parent of the tree.
  std::vector<Pass> passes_;
};

}  // namespace

void RemoveTreeAt(int parent, const char* name, TreeReport& report, RemovalMode mode) {
  Removal(report, mode, nullptr, nullptr).Run(parent, name);
}

void RemoveCopiedTreeAt(int parent, const char* name, TreeReport& report, CopiedItems& copied, const TreePath& copy) {
  Removal(report, RemovalMode::kAll, &copied, &copy).Run(parent, name);
}

}  // namespace quill::darwin
