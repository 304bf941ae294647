#include <dirent.h>
#include <fcntl.h>

#include <set>
#include <vector>

#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/trees/Removal.h"
#include "platform/darwin/trees/TreePath.h"
#include "platform/darwin/trees/Trees.h"
#include "platform/darwin/trees/Walk.h"

namespace quill::darwin {
namespace {

// A directory in which others create as fast as we remove is given up some time.
constexpr int kMostPasses = 64;

class Removal final : public TreeVisitor {
 public:
  Removal(const char* text, TreeReport& listener, RemovalMode how, const CopiedItems* copied)
      : path_(text), report_(listener), mode_(how), only_(copied), walk_(*this) {}

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
    if (only_) return VisitCopied(in, entry.name);
    return RemoveEntry(in, entry.name);
  }

  Next VisitCopied(TreeLevel& in, const char* name) {
    TreeItem item;
    if (const int error = ReadItem(in.descriptor(), name, item)) return error == ENOENT ? Next::kGoOn : Fail(error);
    if (item.IsDirectory()) return Next::kGoInto;
    return only_->Contains(item) ? RemoveEntry(in, name) : Fail(EBUSY);
  }

  Next RemoveEntry(TreeLevel& in, const char* name) {
    const int error = Unlink(in, name, 0);
    if (error == 0) return Removed();
    // Where nothing may be removed the kernel says that first; what lies in the directory may go all the same.
    return error == EISDIR || IsDirectory(in, name) ? Next::kGoInto : Fail(error);
  }

  Next Shut(TreeLevel& in, const char* name, int error) override {
    if (error == ENOENT) return Next::kGoOn;
    // It was exchanged for something else since its type was read.
    if (error == ENOTDIR || error == ELOOP) return only_ ? Fail(EBUSY) : AfterExchange(Unlink(in, name, 0));
    if (mode_ == RemovalMode::kOwnCopy && GiveRights(in, name)) return Next::kGoInto;
    // An empty directory can be removed without being read.
    if (!only_ && Unlink(in, name, AT_REMOVEDIR) == 0) return Removed();
    return Fail(error);
  }

  Next Enter(TreeLevel&, TreeLevel& directory) override {
    if (directory.item.isMountRoot || (only_ && !only_->Contains(directory.item))) return Fail(EBUSY);
    passes_.emplace_back();
    if (mode_ == RemovalMode::kOwnCopy && (directory.item.mode & S_IRWXU) != S_IRWXU) {
      (void)::fchmod(directory.descriptor(), S_IRWXU);  // the removals tell whether it helped
    }
    return Next::kGoInto;
  }

  Next Leave(TreeLevel& in, TreeLevel& directory, int readError) override {
    if (readError != 0) Fail(readError);
    const int error = Unlink(in, directory.name.c_str(), AT_REMOVEDIR);
    Pass& pass = passes_.back();
    if ((error == ENOTEMPTY || error == EEXIST) && pass.removedSomething && directory.pass < kMostPasses) {
      // Some file systems skip entries when others are removed while they are read.
      pass.removedSomething = pass.failed = false;
      return Next::kReadAgain;
    }
    const bool failed = pass.failed;
    passes_.pop_back();
    if (error == ENOTDIR && !only_) return AfterExchange(Unlink(in, directory.name.c_str(), 0));
    if (error == 0) return Removed();
    passes_.back().resisting.insert(directory.item.inode);
    passes_.back().failed = true;
    return failed ? Next::kGoOn : Fail(error);
  }

  void Lost(int error) override { Fail(error); }

  /// The directory is ours and lies where nobody else comes, so its name is as good as a descriptor.
  static bool GiveRights(TreeLevel& in, const char* name) {
    return Retry([&] { return ::fchmodat(in.descriptor(), name, S_IRWXU, 0); }) == 0;
  }

  static bool IsDirectory(TreeLevel& in, const char* name) {
    TreeItem item;
    return ReadItem(in.descriptor(), name, item) == 0 && item.IsDirectory();
  }

  /// 0 as well when somebody else was faster.
  static int Unlink(TreeLevel& in, const char* name, int flags) {
    if (Retry([&] { return ::unlinkat(in.descriptor(), name, flags); }) == 0 || errno == ENOENT) return 0;
    return errno;
  }

  Next AfterExchange(int error) { return error == 0 ? Removed() : Fail(error); }

  Next Removed() {
    passes_.back().removedSomething = true;
    const bool isAll = passes_.size() == 1;  // there is nothing left to stop
    if (report_.Finished(1) || isAll) return Next::kGoOn;
    Fail(ECANCELED);
    return Next::kStop;
  }

  Next Fail(int error) {
    passes_.back().failed = true;
    report_.Fail(error, [this] {
      const std::string entry = walk_.CurrentEntry();
      return entry.empty() ? path_ : entry;
    });
    return Next::kGoOn;
  }

  const std::string path_;
  TreeReport& report_;
  const RemovalMode mode_;
  /// Null for everything.
  const CopiedItems* only_;
  TreeWalk walk_;
  /// One for each directory that the walk is in, beginning with the parent of the tree.
  std::vector<Pass> passes_;
};

}  // namespace

void RemoveTreeAt(int parent, const char* name, const char* path, TreeReport& report, RemovalMode mode) {
  Removal(path, report, mode, nullptr).Run(parent, name);
}

void RemoveCopiedTreeAt(int parent, const char* name, const char* path, TreeReport& report, const CopiedItems& copied) {
  Removal(path, report, RemovalMode::kAll, &copied).Run(parent, name);
}

int RemoveTree(const char* text) {
  TreeReport report;
  TreePath path;
  TreeItem item;
  if (const int error = FindItemToTake(text, path, item)) return report.FailAsWhole(text, error);
  if (item.isMountRoot) return report.FailAsWhole(text, EBUSY);
  RemoveTreeAt(path.parent.get(), path.name.c_str(), text, report);
  return report.error();
}

}  // namespace quill::darwin
