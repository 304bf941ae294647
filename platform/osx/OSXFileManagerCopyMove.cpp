// Copying and moving files and trees.

#include "platform/darwin/Containment.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/PlatformString.h"

using foundation::NSError;
using foundation::RetainPtr;

bool OSXFileManager::_HandleClobber(OSXFileManager& manager, const QuillFileString& destination, bool clobber) {
  if (clobber) {
    // Whether the deletions worked shows in the last question.
    if (manager.FileIsDir(destination)) {
      (void)manager.DirDeleteWithContents(destination);
    } else if (manager.FileExists(destination)) {
      (void)manager.FileDelete(destination);
    }
  }
  return !manager.FileExists(destination);
}

bool OSXFileManager::PrepareDestination(const QuillFileString& source, const QuillFileString& destination,
                                        bool clobber) {
  if (!FileExists(source)) return FailUnobserved(kQuillErrNotFound);
  // Clearing a destination that holds the source would destroy the source.
  if (clobber && darwin::ItemContains(destination.getUTF8(), source.getUTF8())) {
    return FailUnobserved(kQuillErrCannotClearDestination);
  }
  // Replaces whatever a deletion recorded.
  if (!_HandleClobber(*this, destination, clobber)) return FailUnobserved(kQuillErrCannotClearDestination);
  (void)DirEnsureEnclosingDir(destination);  // a directory that is still missing shows in the copy or move itself
  return true;
}

bool OSXFileManager::FileOrDirCopy(const QuillFileString& source, const QuillFileString& destination, bool clobber) {
  if (!source.getUTF8() || !destination.getUTF8()) return false;
  if (!PrepareDestination(source, destination, clobber)) return false;
  RetainPtr<NSError> error;
  if (!fileManager->copyItemAtPath(PlatformString(source).get(), PlatformString(destination).get(), &error)) {
    return Fail(OSXFileSystemUtils::_NSErrorToQuillErr(error.get()));
  }
  return true;
}

bool OSXFileManager::FileOrDirMove(const QuillFileString& source, const QuillFileString& destination, bool clobber) {
  if (!source.getUTF8() || !destination.getUTF8()) return false;
  if (!PrepareDestination(source, destination, clobber)) return false;
  int code = kQuillErrNone;
  if (!OSXFileSystemUtils::_MoveItemAtPath(PlatformString(source).get(), PlatformString(destination).get(), code)) {
    return Fail(code);
  }
  return true;
}
