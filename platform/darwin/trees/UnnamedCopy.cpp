#include <fcntl.h>
#include <unistd.h>

#include "platform/darwin/descriptors/DescriptorPath.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/trees/Contents.h"
#include "platform/darwin/trees/Copy.h"
#include "platform/darwin/trees/Metadata.h"

namespace quill::darwin {
namespace {

constexpr int kNotHere = -1;

class Witness final : public MetadataWitness {
 public:
  Witness(const char* text, TreeReport& listener) : path_(text), report_(listener) {}
  void NotKept(TreeMetadata what, int error) override {
    report_.NotKept(what, error, [this] { return path_; });
  }

 private:
  const char* path_;
  TreeReport& report_;
};

/// The errors that only show when a file is closed, while the file can still be given up.
int CloseDuplicate(int file) {
  FileDescriptor duplicate(Retry([&] { return ::fcntl(file, F_DUPFD_CLOEXEC, 0); }));
  return duplicate ? duplicate.Close() : errno;
}

int GiveName(int file, const TreePath& to) {
  const auto link = [&](int directory, const char* from, int flags) {
    return Retry([&] { return ::linkat(directory, from, to.parent.get(), to.name.c_str(), flags); }) == 0 ? 0 : errno;
  };
  int error = link(file, "", AT_EMPTY_PATH);
  if (error == ENOENT || error == EPERM) {
    // Older kernels ask for a capability.
    error = link(AT_FDCWD, DescriptorPath(file).text, AT_SYMLINK_FOLLOW);
  }
  const bool notHere = error == ENOENT || error == EPERM || error == EOPNOTSUPP || error == EXDEV;
  return notHere ? kNotHere : error;
}

int FillAndPlace(const CopyOrder& order, int from, const TreeItem& source, int to, TreeReport& report) {
  Witness witness(order.from.text, report);
  if (const int error = RemoveInheritedAccess(to, /*isDirectory=*/false)) return error;
  if (const int error = DataCopier(report).Copy(from, source, to)) return error;
  if (const int error = MetadataCopier(witness).Copy({from}, source, {to})) return error;
  if (order.copied && Retry([&] { return ::fsync(to); }) != 0) return errno;
  if (const int error = CloseDuplicate(to)) return error;
  if (!report.Finished(1)) return ECANCELED;
  if (order.copied) order.copied->Add(source);
  return GiveName(to, order.to);
}

}  // namespace

bool CopyFileWithoutName(const CopyOrder& order, TreeReport& report) {
  constexpr int kRead = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  constexpr int kUnnamed = O_WRONLY | O_TMPFILE | O_CLOEXEC;
  const TreePath& path = order.from;
  const FileDescriptor from(Retry([&] { return ::openat(path.parent.get(), path.name.c_str(), kRead); }));
  TreeItem source;
  if (!from || ReadItem(from.get(), source) != 0 || !source.IsFile()) return false;  // the general way tells why

  const auto open = [&] { return ::openat(order.to.parent.get(), ".", kUnnamed, S_IRUSR | S_IWUSR); };
  const FileDescriptor to(Retry(open));
  if (!to) return false;
  const int error = FillAndPlace(order, from.get(), source, to.get(), report);
  if (error == kNotHere) return false;
  report.FailAsWhole(order.from.text, error);
  return true;
}

}  // namespace quill::darwin
