// Copying and moving files and trees.

#include <cerrno>

#include "platform/darwin/paths/Containment.h"
#include "platform/darwin/paths/Status.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using foundation::NSError;
using foundation::RetainPtr;
using quill::Operation;
using quill::TreeOperation;

namespace {

// Clearing a destination that holds the source, or is a part of it, would destroy the source or that part. A link is
// copied and moved as itself, so that nothing is a part of it; and it is cleared as itself, so that only a source whose
// path leads through it is harmed.
darwin::Error AskWhetherClearingHarms(const char* source, const char* destination, bool& harms) {
  darwin::ItemStatus there;
  const darwin::Error missing = darwin::GetStatus(destination, darwin::FinalLink::kItself, there);
  if (missing) return missing == ENOENT || missing == ENOTDIR ? darwin::Error() : missing;
  if (there.IsLink()) return darwin::PathLeadsThroughLink(source, there, harms);
  if (const darwin::Error error = darwin::ItemContains(destination, source, harms); error || harms) return error;
  darwin::ItemStatus status;
  if (const darwin::Error error = darwin::GetStatus(source, darwin::FinalLink::kItself, status)) return error;
  return status.IsLink() ? darwin::Error() : darwin::ItemContains(source, destination, harms);
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

bool OSXFileManager::PrepareDestination(Operation& operation, const QuillFileString& source,
                                        const QuillFileString& destination, bool clobber) {
  if (!FileExists(source)) return operation.FailAsMissing(source);
  bool harms = false;
  const auto doubt =
      clobber ? AskWhetherClearingHarms(source.getUTF8(), destination.getUTF8(), harms) : darwin::Error();
  if (doubt || harms) return operation.FailUnobserved(kQuillErrCannotClearDestination, doubt);
  // The code replaces whatever a deletion recorded; its cause stays.
  if (!_HandleClobber(*this, destination, clobber)) {
    return operation.FailUnobserved(kQuillErrCannotClearDestination,
                                    darwin::FirstOf(operation.causeOfCalled(), EEXIST));
  }
  (void)DirEnsureEnclosingDir(destination);  // a directory that is still missing shows in the copy or move itself
  return true;
}

bool OSXFileManager::FileOrDirCopy(const QuillFileString& source, const QuillFileString& destination, bool clobber) {
  TreeOperation operation(*this, __func__, source, destination);
  if (!source.getUTF8() || !destination.getUTF8()) return operation.FailWithoutText();
  if (!PrepareDestination(operation, source, destination, clobber)) return false;
  RetainPtr<NSError> error;
  if (!fileManager->copyItemAtPath(PlatformString(source).get(), PlatformString(destination).get(), &error)) {
    return operation.Fail(error.get());
  }
  return true;
}

bool OSXFileManager::FileOrDirMove(const QuillFileString& source, const QuillFileString& destination, bool clobber) {
  TreeOperation operation(*this, __func__, source, destination);
  if (!source.getUTF8() || !destination.getUTF8()) return operation.FailWithoutText();
  if (!PrepareDestination(operation, source, destination, clobber)) return false;
  int code = kQuillErrNone;
  if (!OSXFileSystemUtils::_MoveItemAtPath(PlatformString(source).get(), PlatformString(destination).get(), code)) {
    return operation.Fail(code, darwin::Error());  // a move knows its cause from the tree
  }
  return true;
}
