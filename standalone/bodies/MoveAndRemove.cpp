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

// Links are moved as themselves. The code comes ready-made, because a host's own body may have other errors than errno
// values to translate.
bool _MoveItemAtPath(const quill::foundation::NSString* from, const quill::foundation::NSString* to, int& code) {
  if (from && to)
    return Succeeded(quill::darwin::MoveTree(from->fileSystemRepresentation(), to->fileSystemRepresentation()), code);
  code = kQuillErrIllegalPath;
  return false;
}

// Removes whole trees without a question; the operations that call it have looked at what is there.
bool _RemoveItemAtPath(const quill::foundation::NSString* path, int& code) {
  if (path) return Succeeded(quill::darwin::RemoveTree(path->fileSystemRepresentation()), code);
  code = kQuillErrIllegalPath;
  return false;
}

}  // namespace OSXFileSystemUtils
