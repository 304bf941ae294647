#include "platform/foundation/NSFileManager.h"

#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/darwin/paths/CanonicalPath.h"
#include "platform/darwin/paths/DirectoryCalls.h"
#include "platform/darwin/paths/ItemChanges.h"
#include "platform/darwin/paths/OpenFile.h"
#include "platform/darwin/paths/PathCalls.h"
#include "platform/darwin/paths/VolumeStatus.h"
#include "platform/darwin/trees/Trees.h"
#include "platform/foundation/NSData.h"
#include "platform/foundation/NSDirectoryEnumerator.h"

namespace quill::foundation {
namespace {

bool CanAccess(const NSString* path, int mode) {
  return path && darwin::MayAccess(path->fileSystemRepresentation(), mode);
}

bool Succeeded(int posixError, RetainPtr<NSError>* error) {
  if (posixError == 0) return true;
  if (error) *error = NSError::errorWithDomain(NSPOSIXErrorDomain(), posixError);
  return false;
}

}  // namespace

NSFileManager* NSFileManager::defaultManager() noexcept {
  static NSFileManager shared;
  return &shared;
}

bool NSFileManager::fileExistsAtPath(const NSString* path, bool* isDirectory) {
  // Existence alone is cheaper to ask.
  if (!isDirectory) return CanAccess(path, F_OK);
  return path && darwin::IsDirectory(path->fileSystemRepresentation(), *isDirectory) == 0;
}

bool NSFileManager::isReadableFileAtPath(const NSString* path) { return CanAccess(path, R_OK); }

bool NSFileManager::isWritableFileAtPath(const NSString* path) { return CanAccess(path, W_OK); }

std::optional<NSFileAttributes> NSFileManager::attributesOfItemAtPath(const NSString* path, NSFinalLink finalLink) {
  if (!path) return std::nullopt;
  const auto link = finalLink == NSFinalLink::kItself ? darwin::FinalLink::kItself : darwin::FinalLink::kTarget;
  darwin::ItemStatus status;
  if (darwin::GetItemStatus(path->fileSystemRepresentation(), link, status) != 0) return std::nullopt;
  return NSFileAttributes(path, status);
}

std::optional<NSFileSystemAttributes> NSFileManager::attributesOfFileSystemForPath(const NSString* path) {
  if (!path) return std::nullopt;
  darwin::VolumeSpace space;
  if (darwin::GetVolumeSpace(path->fileSystemRepresentation(), space) != 0) return std::nullopt;
  return NSFileSystemAttributes{space.total, space.available};
}

bool NSFileManager::setPosixPermissionsOfItemAtPath(unsigned permissions, const NSString* path) {
  return path && darwin::SetPermissions(path->fileSystemRepresentation(), darwin::FinalLink::kItself, permissions) == 0;
}

bool NSFileManager::createFileAtPath(const NSString* path) {
  return path && darwin::CreateFile(path->fileSystemRepresentation(), darwin::ExistingContents::kKeep);
}

bool NSFileManager::createDirectoryAtPath(const NSString* path, RetainPtr<NSError>* error) {
  return Succeeded(path ? darwin::MakeDirectory(path->fileSystemRepresentation()) : ENOENT, error);
}

bool NSFileManager::directoryHasContentsAtPath(const NSString* path) {
  bool isEmpty = true;
  return path && darwin::IsEmptyDirectory(path->fileSystemRepresentation(), isEmpty) == 0 && !isEmpty;
}

bool NSFileManager::copyItemAtPath(const NSString* from, const NSString* to, RetainPtr<NSError>* error) {
  if (!from || !to) return Succeeded(ENOENT, error);
  return Succeeded(darwin::CopyTree(from->fileSystemRepresentation(), to->fileSystemRepresentation()), error);
}

RetainPtr<NSDirectoryEnumerator> NSFileManager::enumeratorAtPath(const NSString* path) {
  return NSDirectoryEnumerator::enumeratorAtPath(path);
}

RetainPtr<NSString> NSFileManager::currentDirectoryPath() {
  std::string path;
  return darwin::CurrentDirectory(path) == 0 ? NSString::stringWithFileSystemBytes(path) : nullptr;
}

RetainPtr<NSString> NSFileManager::destinationOfSymbolicLinkAtPath(const NSString* path) {
  if (!path) return nullptr;
  constexpr std::size_t kUsualSize = 256;
  std::string text(kUsualSize, '\0');
  for (;;) {
    const long length = darwin::readlink(path->fileSystemRepresentation(), text.data(), text.size());
    if (length < 0) return nullptr;
    const auto size = static_cast<std::size_t>(length);
    if (size < text.size()) return NSString::stringWithFileSystemBytes({text.data(), size});
    text.resize(2 * text.size());  // a text that fills the buffer may have been cut
  }
}

RetainPtr<NSString> NSFileManager::stringWithFileSystemRepresentation(const char* bytes, std::size_t length) {
  return bytes ? NSString::stringWithFileSystemBytes({bytes, length}) : nullptr;
}

}  // namespace quill::foundation
