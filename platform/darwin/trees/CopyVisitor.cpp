// Each entry is opened by its name in the directory above, never following a link, and then asked through its
// descriptor what it is: what was looked at is what is copied. A directory's copy is made when the walk goes into it
// and gets its metadata when the walk leaves. An entry that is renamed while its directory is read may be delivered
// under neither name; so a directory that has changed when its end is reached is read again, and what has its copy
// already is passed by. An entry that is gone, or another item by now, when its turn comes is left to such a pass; in a
// move it ends the copy, as a second mover may have it.
#include "platform/darwin/trees/CopyVisitor.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/limits.h>
#include <linux/magic.h>

#include <utility>

#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

constexpr int kOpenSource = O_RDONLY | O_NOFOLLOW;
constexpr int kOpenTarget = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
constexpr int kLookUp = O_PATH | O_NOFOLLOW;

constexpr int kMostPasses = 8;

/// A directory in which others are busy all the time is taken as it was read at last; what comes into it faster than it
/// can be copied would grow with every pass.
bool MayReadAgain(const TreeLevel& directory) {
  return directory.pass < kMostPasses && directory.lateEntries <= directory.earlyEntries;
}

/// Where syncfs does not reach the server, every item is synced by itself.
bool SyncsOneByOne(int directory) {
  struct statfs status;
  return GetFileSystem(directory, status) || static_cast<unsigned>(status.f_type) == FUSE_SUPER_MAGIC;
}

Error CopyLink(int from, int directory, const char* name) {
  char target[PATH_MAX];
  std::size_t length = 0;
  if (const Error error = ReadLink(from, "", target, sizeof target - 1, length)) return error;
  target[length] = '\0';
  return MakeLink(directory, name, target);
}

/// Whether \p made can be the link or node that was just made for \p source.
bool IsMadeOf(const ItemStatus& source, const ItemStatus& made) {
  const bool isDevice = S_ISCHR(source.mode) || S_ISBLK(source.mode);
  if ((made.mode & S_IFMT) != (source.mode & S_IFMT) || made.links > 1) return false;
  return !isDevice || made.deviceNumber == source.deviceNumber;
}

/// Notices that entries have come or gone since the directory was opened.
Error LookForChange(TreeLevel& directory, bool& hasChanged) {
  const ItemStatus before = directory.status;
  if (const Error error = GetStatus(directory.descriptor(), directory.status)) return error;
  directory.status.accessed = before.accessed;  // by now our own reading is the latest access
  const std::timespec& now = directory.status.modified;
  hasChanged = now.tv_sec != before.modified.tv_sec || now.tv_nsec != before.modified.tv_nsec;
  return {};
}

}  // namespace

CopyVisitor::CopyVisitor(const CopyRequest& request, const StagingDirectory& staging, TreeReport& report)
    : request_(request),
      staging_(staging),
      report_(report),
      walk_(*this, report),
      contents_(report),
      metadata_(report),
      links_(staging),
      syncsOneByOne_(request.copied && SyncsOneByOne(staging.descriptor())) {}

void CopyVisitor::Run() {
  walk_.Run(request_.from.parent.get(), request_.from.name.c_str());
  if (report_.error() || !request_.copied || syncsOneByOne_) return;
  (void)report_.FailAsWhole(SyncFileSystem(staging_.descriptor()));  // the report keeps it
}

TreeVisitor::Next CopyVisitor::Visit(TreeLevel& in, const DirectoryReader::Entry& entry) {
  const Target target = TargetOf(in, entry.name);
  mode_t unused = 0;
  const bool isCopied = in.pass > 1 && !GetMode(target.directory, target.name, AT_SYMLINK_NOFOLLOW, unused);
  if (isCopied) return Next::kGoOn;
  ++(in.pass == 1 ? in.earlyEntries : in.lateEntries);
  if (entry.type == DT_DIR) return Next::kGoInto;
  if (entry.type == DT_REG) {
    const Error error = CopyFile(in, entry.name, target);
    if (error != Error::Replaced()) return Answer(error);
  }
  FileDescriptor from;
  ItemStatus source;
  if (const Error error = walk_.OpenIn(in.descriptor(), entry.name, kLookUp, from)) return Miss(in, error);
  if (const Error error = GetStatus(from.get(), source)) return Miss(in, error);
  if (source.IsDirectory()) return Next::kGoInto;
  const Error error =
      source.IsFile() ? CopyFile(in, entry.name, target) : CopyOther({from.get(), true}, source, target);
  return error == Error::Replaced() ? Miss(in, error) : Answer(error);
}

TreeVisitor::Next CopyVisitor::OpenFailed(TreeLevel& in, const char*, Error error) { return Miss(in, error); }

TreeVisitor::Next CopyVisitor::Enter(TreeLevel& in, TreeLevel& directory) {
  // The destination is in the tree by a way that its path does not show, a second mount of it.
  if (directory.status.IsSameAs(staging_.status())) return Answer(EINVAL);
  if (request_.copied && directory.status.isMountRoot) return Answer(EBUSY);
  const Error error = MakeCounterpart(in, directory);
  return error ? Answer(error) : Next::kGoInto;
}

Error CopyVisitor::MakeCounterpart(TreeLevel& in, TreeLevel& directory) {
  const Target target = TargetOf(in, directory.name.c_str());
  const auto make = [&] { return MakeNewDirectory(target.directory, target.name, directory.counterpart); };
  const Error error = walk_.WithDescriptor(make);
  if (error || !staging_.lacksRights()) return error;
  return ChangeMode({directory.counterpart.get()}, S_IRWXU);
}

TreeVisitor::Next CopyVisitor::Leave(TreeLevel& in, TreeLevel& directory, Error error) {
  const Error missed = std::exchange(directory.missed, Error());
  bool hasChanged = false;
  if (!error) error = LookForChange(directory, hasChanged);
  if (!error && (hasChanged || missed) && MayReadAgain(directory)) return Next::kReadAgain;
  if (!error) error = missed;
  if (!error) error = FinishCounterpart(in, directory);
  return Answer(Add(error, directory.status));
}

Error CopyVisitor::FinishCounterpart(TreeLevel& in, TreeLevel& directory) {
  const bool keepsOpen = walk_.IsOutside(in) && (directory.status.mode & S_IWUSR) == 0;
  const int counterpart = directory.counterpart.get();
  ItemStatus status = directory.status;
  if (keepsOpen) status.mode |= S_IWUSR;
  if (const Error error = metadata_.Copy({directory.descriptor()}, status, {counterpart})) return error;
  if (syncsOneByOne_) {
    if (const Error error = Sync(counterpart)) return error;
  }
  if (!keepsOpen) return directory.counterpart.Close();
  readOnlyRoot_ = std::move(directory.counterpart);
  return {};
}

void CopyVisitor::PathLost(Error error) { Answer(error); }

TreeVisitor::Next CopyVisitor::Miss(TreeLevel& in, Error error) {
  if (request_.copied) return Answer(error == Error::Replaced() ? Error(EBUSY) : error);
  const bool mayComeAgain = error == ENOENT || error == Error::Replaced();
  if (!mayComeAgain || walk_.IsOutside(in)) return Answer(error);
  in.missed = error;
  return Next::kGoOn;
}

/// Error::Replaced when it is no regular file any more, or gone.
Error CopyVisitor::CopyFile(TreeLevel& in, const char* name, Target target) {
  FileDescriptor from;
  const auto open = [&] { return OpenWithoutWaiting(in.descriptor(), name, kOpenSource, from); };
  const Error unopened = walk_.WithDescriptor(open);
  if (unopened == ELOOP || unopened == ENXIO || unopened == ENOENT) return Error::Replaced();
  if (unopened) return unopened;
  ItemStatus source;
  if (const Error error = GetStatus(from.get(), source)) return error;
  if (!source.IsFile()) return Error::Replaced();
  if (request_.copied && source.isMountRoot) return EBUSY;
  if (const Error error = LinkEarlier(source, target); error != ENOENT) return Add(error, source);
  return Add(CopyOpenFile(from.get(), source, target), source);
}

Error CopyVisitor::CopyOpenFile(int from, const ItemStatus& source, Target target) {
  FileDescriptor to;
  if (const Error error = walk_.OpenIn(target.directory, target.name, kOpenTarget, to, S_IRUSR | S_IWUSR)) return error;
  if (const Error error = contents_.Copy(from, source, to.get())) return error;
  if (const Error error = metadata_.Copy({from}, source, {to.get()})) return error;
  if (syncsOneByOne_) {
    if (const Error error = Sync(to.get())) return error;
  }
  if (const Error error = to.Close()) return error;
  return Remember(source, target);
}

/// What is never opened: a link, a FIFO, a socket, a device.
Error CopyVisitor::CopyOther(OpenItem from, const ItemStatus& source, Target target) {
  if (request_.copied && source.isMountRoot) return EBUSY;
  if (const Error error = LinkEarlier(source, target); error != ENOENT) return Add(error, source);
  return Add(MakeOther(from, source, target), source);
}

Error CopyVisitor::MakeOther(OpenItem from, const ItemStatus& source, Target target) {
  const mode_t mode = (source.mode & S_IFMT) | S_IRUSR | S_IWUSR;
  const Error made = source.IsLink() ? CopyLink(from.descriptor, target.directory, target.name)
                                     : MakeNode(target.directory, target.name, mode, source.deviceNumber);
  if (made) return made;
  FileDescriptor to;
  ItemStatus status;
  if (const Error error = walk_.OpenIn(target.directory, target.name, kLookUp, to)) return error;
  if (const Error error = GetStatus(to.get(), status)) return error;
  // It was made by its name: nothing is given to an item that is not the one that was made.
  if (!IsMadeOf(source, status) || status.owner != staging_.status().owner) return ESTALE;
  if (const Error error = metadata_.Copy(from, source, {to.get(), true}, status)) return error;
  return Remember(source, target);
}

/// ENOENT when no other name of the item has been copied.
Error CopyVisitor::LinkEarlier(const ItemStatus& source, Target target) {
  return source.links > 1 ? links_.LinkEarlier(source, target.directory, target.name) : ENOENT;
}

Error CopyVisitor::Remember(const ItemStatus& source, Target target) {
  if (source.links < 2 || walk_.CurrentEntry().empty()) return {};
  const auto remember = [&] { return links_.Remember(source, target.directory, target.name); };
  const Error error = walk_.WithDescriptor(remember);
  const bool cannotBeHeld = error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == EMLINK;
  if (!cannotBeHeld) return error;
  report_.NotKept(TreeMetadata::kHardLink, error);
  return {};
}

Error CopyVisitor::Add(Error error, const ItemStatus& source) {
  if (!error && request_.copied) request_.copied->Add(source);
  return error;
}

TreeVisitor::Next CopyVisitor::Answer(Error error) {
  if (!error && !report_.Finished(1)) error = ECANCELED;
  if (!error) return Next::kGoOn;
  report_.Fail(error);
  return Next::kStop;
}

CopyVisitor::Target CopyVisitor::TargetOf(const TreeLevel& in, const char* name) const {
  if (walk_.IsOutside(in)) return {staging_.descriptor(), staging_.name()};
  return {in.counterpart.get(), name};
}

}  // namespace quill::darwin
