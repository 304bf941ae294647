// Where the user's standard directories are.

#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSStandardDirectories.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/PlatformString.h"

using foundation::NSHomeDirectory;
using foundation::NSSearchPathDirectory;
using foundation::NSString;

namespace {

// Where the platform has no answer the result stays untouched.
bool Store(const NSString* directory, QuillFileString& result) {
  if (!directory) return false;
  return OSXFileSystemUtils::SetQuillFileStringFromNSStringPath(directory, result, /*normalize=*/true);
}

bool StoreSearchPath(NSSearchPathDirectory kind, QuillFileString& result) {
  return Store(foundation::NSSearchPathForDirectoryInUserDomain(kind).get(), result);
}

}  // namespace

bool OSXFileManager::DirGetUserHomePath(QuillFileString& directory) { return OSXFileManager::DirGetUser(directory); }

bool OSXFileManager::DirGetUser(QuillFileString& directory) { return Store(NSHomeDirectory().get(), directory); }

bool OSXFileManager::DirGetCurrent(QuillFileString& directory) {
  const auto current = fileManager->currentDirectoryPath();
  if (current && current->view() == "/") return Store(NSHomeDirectory().get(), directory);
  return Store(current.get(), directory);
}

bool OSXFileManager::DirGetDesktop(QuillFileString& directory) {
  return StoreSearchPath(NSSearchPathDirectory::kDesktop, directory);
}

bool OSXFileManager::DirGetDocuments(QuillFileString& directory) {
  return StoreSearchPath(NSSearchPathDirectory::kDocument, directory);
}

bool OSXFileManager::DirGetCache(QuillFileString& directory) {
  return StoreSearchPath(NSSearchPathDirectory::kCaches, directory);
}
