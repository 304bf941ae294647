// Deleting and renaming.

#include <cerrno>

#include "platform/darwin/paths/PathCalls.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/PlatformString.h"

using foundation::NSFileManager;
using OSXFileSystemUtils::_PosixErrToQuillErr;

namespace {

// A bare name keeps the item in its directory; a name with a directory part says itself where to.
QuillFileString RenameTarget(const QuillFileString& newName, const QuillFileString& path) {
  QuillFileString cut(newName);
  if (cut.trimLeaf(nullptr)) return newName;

  QuillFileString target;
  QuillFileString item(path);
  if (!item.trimLeaf(&target)) return newName;
  target.appendLeaf(newName);
  return target;
}

}  // namespace

bool OSXFileManager::FileDelete(const QuillFileString& path) {
  if (darwin::unlink(path.getUTF8()) != 0) return Fail(_PosixErrToQuillErr(errno));
  return true;
}

bool OSXFileManager::FileRename(const QuillFileString& newName, const QuillFileString& path) {
  if (newName.isEmpty() || path.isEmpty()) return false;
  const QuillFileString target = RenameTarget(newName, path);
  int code = kQuillErrNone;
  if (!OSXFileSystemUtils::_MoveItemAtPath(PlatformString(path).get(), PlatformString(target).get(), code)) {
    return Fail(code);
  }
  return true;
}

bool OSXFileManager::DirDelete(const QuillFileString& directory) {
  if (!directory.getUTF8()) return false;
  if (darwin::IsSymbolicLink(directory.getUTF8())) return OSXFileManager::FileDelete(directory);

  const auto text = PlatformString(directory);
  if (text && text->canBeConvertedToASCII()) {
    if (darwin::rmdir(directory.getUTF8()) != 0) return Fail(_PosixErrToQuillErr(errno));
    return true;
  }

  // A name outside ASCII takes the platform's way, on which a file is removed as well.
  auto* const shared = NSFileManager::defaultManager();
  bool isDirectory = false;
  const bool exists = shared->fileExistsAtPath(text.get(), &isDirectory);
  if (exists && isDirectory && shared->directoryHasContentsAtPath(text.get())) return Fail(kQuillErrDirNotEmpty);
  int code = kQuillErrNone;
  if (!OSXFileSystemUtils::_RemoveItemAtPath(text.get(), code)) return Fail(code);
  return true;
}

bool OSXFileManager::DirDeleteWithContents(const QuillFileString& path) {
  if (!path.getUTF8()) return false;
  if (!FileExists(path)) return FailUnobserved(kQuillErrNotFound);
  int code = kQuillErrNone;
  if (!OSXFileSystemUtils::_RemoveItemAtPath(PlatformString(path).get(), code)) return Fail(code);
  return true;
}
