#include "host/QuillErr.h"
#include "platform/darwin/Trees.h"
#include "platform/foundation/NSString.h"
#include "platform/osx/OSXFileSystemUtils.h"

namespace OSXFileSystemUtils {
namespace {

bool Succeeded(int posixError, int& code) {
  if (posixError == 0) return true;
  code = _PosixErrToQuillErr(posixError);
  return false;
}

}  // namespace

bool _MoveItemAtPath(const foundation::NSString* from, const foundation::NSString* to, int& code) {
  if (from && to)
    return Succeeded(darwin::MoveTree(from->fileSystemRepresentation(), to->fileSystemRepresentation()), code);
  code = kQuillErrIllegalPath;
  return false;
}

bool _RemoveItemAtPath(const foundation::NSString* path, int& code) {
  if (path) return Succeeded(darwin::RemoveTree(path->fileSystemRepresentation()), code);
  code = kQuillErrIllegalPath;
  return false;
}

}  // namespace OSXFileSystemUtils
