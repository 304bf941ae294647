#include "host/QuillErr.h"
#include "platform/darwin/trees/Trees.h"
#include "platform/foundation/NSString.h"
#include "platform/osx/OSXFileSystemUtils.h"

namespace OSXFileSystemUtils {
namespace {

bool Succeeded(quill::darwin::Error error, int& code) {
  if (error) code = _PosixErrToQuillErr(error.posix());
  return !error;
}

}  // namespace

bool _MoveItemAtPath(const quill::foundation::NSString* from, const quill::foundation::NSString* to, int& code) {
  if (from && to)
    return Succeeded(quill::darwin::MoveTree(from->fileSystemRepresentation(), to->fileSystemRepresentation()), code);
  code = kQuillErrIllegalPath;
  return false;
}

bool _RemoveItemAtPath(const quill::foundation::NSString* path, int& code) {
  if (path) return Succeeded(quill::darwin::RemoveTree(path->fileSystemRepresentation()), code);
  code = kQuillErrIllegalPath;
  return false;
}

}  // namespace OSXFileSystemUtils
