// Where the user's standard directories are.
//
// Nothing is remembered from one call to the next, since the environment, user-dirs.dirs and the current directory may
// change while the program runs. The results come composed, like all paths from the platform.

#include <cerrno>
#include <utility>

#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSStandardDirectories.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using foundation::NSError;
using foundation::NSHomeDirectory;
using foundation::NSSearchPathDirectory;
using foundation::NSString;
using foundation::RetainPtr;
using quill::Operation;

namespace {

// Where the platform has no answer the result stays untouched.
bool Store(Operation& operation, const NSString* directory, QuillFileString& result) {
  if (!directory) return operation.FailSilently(ENOENT);
  return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(directory, result, /*normalize=*/true);
}

// The operation is a temporary of the table entry's body, because __func__ has to be the entry's name.
bool StoreSearchPath(Operation&& operation, NSSearchPathDirectory kind, QuillFileString& result) {
  return Store(operation, foundation::NSSearchPathForDirectoryInUserDomain(kind).get(), result);
}

}  // namespace

bool OSXFileManager::DirGetUserHomePath(QuillFileString& directory) {
  Operation operation(*this, __func__);
  return Store(operation, NSHomeDirectory().get(), directory);
}

bool OSXFileManager::DirGetUser(QuillFileString& directory) {
  Operation operation(*this, __func__);
  return Store(operation, NSHomeDirectory().get(), directory);
}

bool OSXFileManager::DirGetCurrent(QuillFileString& directory) {
  Operation operation(*this, __func__);
  RetainPtr<NSError> error;
  const auto current = fileManager->currentDirectoryPath(&error);
  if (!current) return operation.FailSilently(error.get());
  // Programs that a session or service manager starts often run in "/", where no user keeps files, so the contract
  // gives the home directory for it.
  return Store(operation, current->view() == "/" ? NSHomeDirectory().get() : current.get(), directory);
}

bool OSXFileManager::DirGetDesktop(QuillFileString& directory) {
  return StoreSearchPath({*this, __func__}, NSSearchPathDirectory::kDesktop, directory);
}

bool OSXFileManager::DirGetDocuments(QuillFileString& directory) {
  return StoreSearchPath({*this, __func__}, NSSearchPathDirectory::kDocument, directory);
}

bool OSXFileManager::DirGetCache(QuillFileString& directory) {
  return StoreSearchPath({*this, __func__}, NSSearchPathDirectory::kCaches, directory);
}
