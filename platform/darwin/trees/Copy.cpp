#include "platform/darwin/trees/Copy.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/limits.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <utility>

#include "platform/darwin/descriptors/FileSizeLimit.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/trees/Contents.h"
#include "platform/darwin/trees/HardLinks.h"
#include "platform/darwin/trees/Metadata.h"
#include "platform/darwin/trees/Placing.h"
#include "platform/darwin/trees/Removal.h"
#include "platform/darwin/trees/StagingDirectory.h"
#include "platform/darwin/trees/Walk.h"

namespace quill::darwin {
namespace {

constexpr int kOpenSource = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr int kOpenTarget = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr int kLookUp = O_PATH | O_NOFOLLOW | O_CLOEXEC;

constexpr int kMostPasses = 8;

// A directory in which others are busy all the time is taken as it was read at last; what comes into it faster than it
// can be copied would grow with every pass.
bool MayReadAgain(const TreeLevel& directory) {
  return directory.pass < kMostPasses && directory.lateEntries <= directory.earlyEntries;
}

int Sync(int file) {
  return Retry([&] { return ::fsync(file); }) == 0 ? 0 : errno;
}

/// Where syncfs does not reach the server, every item is made sure of by itself.
bool SyncsOneByOne(int directory) {
  struct statfs status;
  const bool told = Retry([&] { return ::fstatfs(directory, &status); }) == 0;
  return !told || static_cast<unsigned>(status.f_type) == FUSE_SUPER_MAGIC;
}

int CopyLink(int from, int directory, const char* name) {
  char target[PATH_MAX];
  const ssize_t length = Retry([&] { return ::readlinkat(from, "", target, sizeof target - 1); });
  if (length < 0) return errno;
  target[length] = '\0';
  return Retry([&] { return ::symlinkat(target, directory, name); }) == 0 ? 0 : errno;
}

int MakeNode(const TreeItem& source, int directory, const char* name) {
  const mode_t mode = (source.mode & S_IFMT) | S_IRUSR | S_IWUSR;
  return Retry([&] { return ::mknodat(directory, name, mode, source.represents); }) == 0 ? 0 : errno;
}

class TreeCopy final : public TreeVisitor, public MetadataWitness {
 public:
  TreeCopy(const CopyOrder& theOrder, const PrivateDirectory& directory, TreeReport& listener)
      : order_(theOrder),
        container_(directory),
        report_(listener),
        walk_(*this),
        data_(listener),
        metadata_(*this),
        links_(directory),
        syncsOneByOne_(theOrder.copied && SyncsOneByOne(directory.descriptor())) {
    metadata_.SetOwnerOfNewItems(directory.item().owner, directory.item().group);
  }

  void Run() {
    walk_.Run(order_.from.parent.get(), order_.from.name.c_str());
    if (report_.error() != 0 || !order_.copied || syncsOneByOne_) return;
    if (Retry([&] { return ::syncfs(container_.descriptor()); }) != 0) report_.FailAsWhole(order_.from.text, errno);
  }

  /// The copy of a directory that nobody may write to, which must have that right to leave the container.
  const FileDescriptor& readOnlyRoot() const { return rootToClose_; }

 private:
  /// Where an entry is copied to.
  struct Target {
    int directory;
    const char* name;
  };

  Next Visit(TreeLevel& in, const DirectoryReader::Entry& entry) override {
    const Target target = TargetOf(in, entry.name);
    if (in.pass > 1 && IsCopied(target)) return Next::kGoOn;
    ++(in.pass == 1 ? in.earlyEntries : in.lateEntries);
    if (entry.type == DT_DIR) return Next::kGoInto;
    if (entry.type == DT_REG) {
      const int error = CopyFile(in, entry.name, target);
      if (error != ESTALE) return Answer(error);
    }
    const FileDescriptor from = walk_.Open(in.descriptor(), entry.name, kLookUp);
    TreeItem item;
    if (const int error = from ? ReadItem(from.get(), item) : errno) return Missed(in, error);
    if (item.IsDirectory()) return Next::kGoInto;
    const bool isFile = item.IsFile();
    const int error = isFile ? CopyFile(in, entry.name, target) : CopyOther({from.get(), true}, item, target);
    return error == ESTALE ? Missed(in, error) : Answer(error);
  }

  Next Shut(TreeLevel& in, const char*, int error) override { return Missed(in, error); }

  Next Enter(TreeLevel& in, TreeLevel& directory) override {
    // The place of the copy lies in the tree by a way that its path does not show, a second mount of it.
    if (directory.item.IsSameAs(container_.item())) return Answer(EINVAL);
    if (order_.copied && directory.item.isMountRoot) return Answer(EBUSY);
    const Target target = TargetOf(in, directory.name.c_str());
    do {
      directory.counterpart = MakeDirectoryAt(target.directory, target.name);
    } while (!directory.counterpart && walk_.MakeRoom(errno));
    if (!directory.counterpart) return Answer(errno);
    if (!container_.lacksRights()) return Next::kGoInto;
    const int descriptor = directory.counterpart.get();
    return Retry([&] { return ::fchmod(descriptor, S_IRWXU); }) == 0 ? Next::kGoInto : Answer(errno);
  }

  Next Leave(TreeLevel& in, TreeLevel& directory, int error) override {
    const int missed = std::exchange(directory.missed, 0);
    bool hasChanged = false;
    if (error == 0) error = LookForChange(directory, hasChanged);
    if (error == 0 && (hasChanged || missed != 0) && MayReadAgain(directory)) return Next::kReadAgain;
    if (error == 0) error = missed;
    const bool keepsOpen = walk_.IsOutside(in) && (directory.item.mode & S_IWUSR) == 0;
    TreeItem item = directory.item;
    if (keepsOpen) item.mode |= S_IWUSR;
    if (error == 0) error = metadata_.Copy({directory.descriptor()}, item, {directory.counterpart.get()});
    if (error == 0 && syncsOneByOne_) error = Sync(directory.counterpart.get());
    if (keepsOpen) rootToClose_ = std::move(directory.counterpart);
    if (error == 0) error = directory.counterpart.Close();
    return Done(error, directory.item);
  }

  void Lost(int error) override { Answer(error); }

  /// What is gone, or was exchanged again and again, is left to another reading of its directory.
  Next Missed(TreeLevel& in, int error) {
    const bool mayComeAgain = error == ENOENT || error == ESTALE;
    if (!mayComeAgain || walk_.IsOutside(in)) return Answer(error);
    in.missed = error;
    return Next::kGoOn;
  }

  static bool IsCopied(Target target) {
    TreeItem item;
    return ReadItem(target.directory, target.name, item) == 0;
  }

  /// An entry that is renamed while its directory is read may be delivered under neither name (readdir, POSIX).
  static int LookForChange(TreeLevel& directory, bool& hasChanged) {
    const TreeItem before = directory.item;
    const int error = ReadItem(directory.descriptor(), directory.item);
    directory.item.accessed = before.accessed;  // by now our own reading is the latest access
    const std::timespec& now = directory.item.modified;
    hasChanged = error == 0 && (now.tv_sec != before.modified.tv_sec || now.tv_nsec != before.modified.tv_nsec);
    return error;
  }

  void NotKept(TreeMetadata what, int error) override {
    report_.NotKept(what, error, [this] { return CurrentEntry(); });
  }

  /// ESTALE when it is no regular file any more, or gone.
  int CopyFile(TreeLevel& in, const char* name, Target target) {
    const FileDescriptor from = walk_.Open(in.descriptor(), name, kOpenSource);
    if (!from) return errno == ELOOP || errno == ENXIO || errno == ENOENT ? ESTALE : errno;
    TreeItem item;
    if (const int error = ReadItem(from.get(), item)) return error;
    if (!item.IsFile()) return ESTALE;
    if (order_.copied && item.isMountRoot) return EBUSY;
    if (item.links > 1) {
      const int error = links_.LinkEarlier(item, target.directory, target.name);
      if (error != ENOENT) return Add(error, item);
    }
    return Add(CopyOpenFile(from.get(), item, target), item);
  }

  int CopyOpenFile(int from, const TreeItem& item, Target target) {
    FileDescriptor to = walk_.Open(target.directory, target.name, kOpenTarget, S_IRUSR | S_IWUSR);
    if (!to) return errno;
    int error = data_.Copy(from, item, to.get());
    if (error == 0) error = metadata_.Copy({from}, item, {to.get()});
    if (error == 0 && syncsOneByOne_) error = Sync(to.get());
    if (error == 0) error = to.Close();
    return error == 0 ? Remember(item, target) : error;
  }

  /// What is never opened: a link, a FIFO, a socket, a device.
  int CopyOther(OpenItem from, const TreeItem& item, Target target) {
    if (order_.copied && item.isMountRoot) return EBUSY;
    if (item.links > 1) {
      const int error = links_.LinkEarlier(item, target.directory, target.name);
      if (error != ENOENT) return Add(error, item);
    }
    const int made = item.IsLink() ? CopyLink(from.descriptor, target.directory, target.name)
                                   : MakeNode(item, target.directory, target.name);
    if (made != 0) return made;
    const FileDescriptor to = walk_.Open(target.directory, target.name, kLookUp);
    if (!to) return errno;
    if (const int error = metadata_.Copy(from, item, {to.get(), true})) return error;
    return Add(Remember(item, target), item);
  }

  int Remember(const TreeItem& item, Target target) {
    if (item.links < 2 || walk_.CurrentEntry().empty()) return 0;
    int error = links_.Remember(item, target.directory, target.name);
    while (walk_.MakeRoom(error)) error = links_.Remember(item, target.directory, target.name);
    const bool cannotBeHeld = error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == EMLINK;
    if (!cannotBeHeld) return error;
    NotKept(TreeMetadata::kHardLink, error);
    return 0;
  }

  int Add(int error, const TreeItem& item) {
    if (error == 0 && order_.copied) order_.copied->Add(item);
    return error;
  }

  Next Done(int error, const TreeItem& item) { return Answer(Add(error, item)); }

  Next Answer(int error) {
    if (error == 0 && !report_.Finished(1)) error = ECANCELED;
    if (error == 0) return Next::kGoOn;
    report_.Fail(error, [this] { return CurrentEntry(); });
    return Next::kStop;
  }

  Target TargetOf(const TreeLevel& in, const char* name) const {
    if (walk_.IsOutside(in)) return {container_.descriptor(), container_.name()};
    return {in.counterpart.get(), name};
  }

  std::string CurrentEntry() const {
    const std::string entry = walk_.CurrentEntry();
    return entry.empty() ? order_.from.text : entry;
  }

  const CopyOrder& order_;
  const PrivateDirectory& container_;
  TreeReport& report_;
  TreeWalk walk_;
  DataCopier data_;
  MetadataCopier metadata_;
  HardLinks links_;
  FileDescriptor rootToClose_;
  const bool syncsOneByOne_;
};

/// Takes away what was made and not placed, and the links by which files were remembered.
class Remains {
 public:
  explicit Remains(const PrivateDirectory& directory) noexcept : container_(directory) {}
  Remains(const Remains&) = delete;
  Remains& operator=(const Remains&) = delete;
  ~Remains() {
    // A failure that passes is survived here too.
    if (!Remove(container_.name())) (void)Remove(container_.name());
    if (!Remove(HardLinks::kDirectoryName)) (void)Remove(HardLinks::kDirectoryName);
  }

 private:
  bool Remove(const char* name) const {
    try {
      TreeReport nobody(nullptr);
      RemoveTreeAt(container_.descriptor(), name, "", nobody, RemovalMode::kOwnCopy);
      return nobody.error() == 0;
    } catch (...) {
      return false;  // without memory the rest may stay, under a name of its own
    }
  }

  const PrivateDirectory& container_;
};

int Place(const CopyOrder& order, int fromDirectory, const char* from) {
  const TreePath& to = order.to;
  return PlaceItem(fromDirectory, from, to.parent.get(), to.name.c_str(), order.item.IsDirectory());
}

/// Only a directory that its owner may write to can go to another one: so it becomes what it is to be outside the
/// container, still under a name that nobody knows.
int PlaceReadOnly(const CopyOrder& order, const PrivateDirectory& container, int root) {
  const int parent = order.to.parent.get();
  std::string name;
  if (const int error = ChooseName(name)) return error;
  if (const int error = PlaceItem(container.descriptor(), container.name(), parent, name.c_str(), true)) return error;
  TreeItem item;
  int error = ReadItem(root, item);
  const mode_t mode = item.mode & (ALLPERMS & ~mode_t{S_IWUSR});
  if (error == 0 && Retry([&] { return ::fchmod(root, mode); }) != 0) error = errno;
  if (error == 0 || error == EPERM || error == EOPNOTSUPP) error = Place(order, parent, name.c_str());
  if (error == 0) return 0;
  // Back to where it will be removed.
  (void)::fchmod(root, S_IRWXU);
  (void)::renameat(parent, name.c_str(), container.descriptor(), container.name());
  return error;
}

int MakeAndPlace(const CopyOrder& order, TreeReport& report) {
  PrivateDirectory container;
  if (const int error = container.Make(order.to.parent.get())) return error;
  const Remains remains(container);
  TreeCopy copy(order, container, report);
  copy.Run();
  if (report.error() != 0) return report.error();
  if (!copy.readOnlyRoot()) return Place(order, container.descriptor(), container.name());
  return PlaceReadOnly(order, container, copy.readOnlyRoot().get());
}

}  // namespace

void CopyItem(const CopyOrder& order, TreeReport& report) {
  SurviveFileSizeLimit();
  if (order.item.IsFile() && CopyFileWithoutName(order, report)) return;
  report.FailAsWhole(order.from.text, MakeAndPlace(order, report));
}

int SyncDirectory(int directory) {
  const FileDescriptor open(Retry([&] { return ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  // Who may not read it may not sync it either.
  if (!open) return errno == EACCES ? 0 : errno;
  const int error = Sync(open.get());
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ? 0 : error;
}

}  // namespace quill::darwin
