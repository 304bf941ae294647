// Copying and moving files and trees.

#include "platform/darwin/paths/Containment.h"
#include "platform/darwin/paths/PathCalls.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/PlatformString.h"

using foundation::NSError;
using foundation::RetainPtr;

namespace {

// Clearing a destination that holds the source, or is a part of it, would destroy the source or that part. A link is
// copied and moved as itself, so that nothing is a part of it.
bool ClearingHarmsSource(const char* source, const char* destination) {
  if (darwin::ItemContains(destination, source)) return true;
  return !darwin::IsSymbolicLink(source) && darwin::ItemContains(source, destination);
}

}  // namespace

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
  if (clobber && ClearingHarmsSource(source.getUTF8(), destination.getUTF8())) {
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
