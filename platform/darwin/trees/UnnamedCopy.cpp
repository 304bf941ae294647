// The copy of a single file is filled as a file without a name (O_TMPFILE) in the directory of the destination, gets
// its metadata, and is then linked to its name in one step. Where that cannot be, nothing has happened, and the copy
// goes by way of a staging directory.
#include <fcntl.h>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/trees/Contents.h"
#include "platform/darwin/trees/Copy.h"
#include "platform/darwin/trees/Metadata.h"

namespace quill::darwin {
namespace {

/// The errors that only show when a file is closed, while the file can still be given up.
Error CloseDuplicate(int file) {
  FileDescriptor duplicate;
  if (const Error error = Duplicate(file, duplicate)) return error;
  return duplicate.Close();
}

Error GiveName(int file, const TreePath& to) {
  const Error error = LinkOpenFile(file, to.parent.get(), to.name.c_str());
  const bool cannotBeLinked = error == ENOENT || error == EPERM || error == EOPNOTSUPP || error == EXDEV;
  return cannotBeLinked ? Error::NoSuchWay() : error;
}

Error FillAndPlace(const CopyRequest& request, int from, const ItemStatus& source, int to, TreeReport& report) {
  if (const Error error = RemoveInheritedAccess(to, /*isDirectory=*/false)) return error;
  if (const Error error = ContentsCopier(report).Copy(from, source, to)) return error;
  if (const Error error = MetadataCopier(report).Copy({from}, source, {to})) return error;
  if (request.copied) {
    if (const Error error = Sync(to)) return error;
  }
  if (const Error error = CloseDuplicate(to)) return error;
  if (!report.Finished(1)) return ECANCELED;
  if (request.copied) {
    ItemStatus made;
    request.copied->Add(source);
    if (const Error error = GetStatus(to, made)) return error;
    if (const Error error = ReadyToPlace(request, made)) return error;
  }
  return GiveName(to, request.to);
}

}  // namespace

Error CopyFileWithoutName(const CopyRequest& request, TreeReport& report) {
  constexpr int kRead = O_RDONLY | O_NOFOLLOW;
  constexpr int kUnnamed = O_WRONLY | O_TMPFILE;
  FileDescriptor from, to;
  ItemStatus source;
  // The general way meets the same reason, and reports it.
  if (OpenWithoutWaiting(request.from.parent.get(), request.from.name.c_str(), kRead, from)) return Error::NoSuchWay();
  if (GetStatus(from.get(), source) || !source.IsFile()) return Error::NoSuchWay();
  if (Open(request.to.parent.get(), ".", kUnnamed, to, S_IRUSR | S_IWUSR)) return Error::NoSuchWay();
  const Error error = FillAndPlace(request, from.get(), source, to.get(), report);
  return error == Error::NoSuchWay() ? error : report.FailAsWhole(error);
}

}  // namespace quill::darwin
