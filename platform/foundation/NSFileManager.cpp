#include "platform/foundation/NSFileManager.h"

#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/paths/Changes.h"
#include "platform/darwin/paths/Creating.h"
#include "platform/darwin/paths/Opening.h"
#include "platform/darwin/paths/Status.h"
#include "platform/darwin/paths/Volumes.h"
#include "platform/darwin/trees/Trees.h"

namespace quill::foundation {
namespace {

// For the effective user, who is the one that opens the file afterwards. An answer of "no" has no reason here.
bool CanAccess(const NSString* path, int mode) {
  return path && !darwin::CheckAccess(path->fileSystemRepresentation(), mode);
}

bool Succeeded(darwin::Error cause, RetainPtr<NSError>* error) { return cause ? NSError::Give(cause, error) : true; }

}  // namespace

NSFileManager* NSFileManager::defaultManager() noexcept {
  // Without state, so static objects of the program may use it from their constructors and destructors.
  static NSFileManager shared;
  return &shared;
}

bool NSFileManager::fileExistsAtPath(const NSString* path, bool* isDirectory) {
  // Asking for existence alone is cheaper.
  if (!isDirectory) return CanAccess(path, F_OK);
  return path && !darwin::IsDirectory(path->fileSystemRepresentation(), *isDirectory);
}

bool NSFileManager::isReadableFileAtPath(const NSString* path) { return CanAccess(path, R_OK); }

bool NSFileManager::isWritableFileAtPath(const NSString* path) { return CanAccess(path, W_OK); }

std::optional<NSFileAttributes> NSFileManager::attributesOfItemAtPath(const NSString* path, NSFinalLink finalLink,
                                                                      RetainPtr<NSError>* error) {
  if (!path) return std::nullopt;
  darwin::ItemStatus status;
  if (!Succeeded(darwin::GetStatus(path->fileSystemRepresentation(), finalLink, status), error)) return std::nullopt;
  // Keeps the path, too: an attribute that is rarely wanted is read when it is asked for.
  return NSFileAttributes(path, status);
}

std::optional<NSFileSystemAttributes> NSFileManager::attributesOfFileSystemForPath(const NSString* path,
                                                                                   RetainPtr<NSError>* error) {
  if (!path) return std::nullopt;
  darwin::VolumeSpace space;
  if (!Succeeded(darwin::GetVolumeSpace(path->fileSystemRepresentation(), space), error)) return std::nullopt;
  return NSFileSystemAttributes{space.total, space.available};
}

bool NSFileManager::createFileAtPath(const NSString* path, RetainPtr<NSError>* error, bool empties) {
  if (!path) return false;
  const auto existing = empties ? darwin::ExistingContents::kEmpty : darwin::ExistingContents::kKeep;
  darwin::FileDescriptor file;
  if (!Succeeded(darwin::CreateFile(path->fileSystemRepresentation(), existing, file), error)) return false;
  // Network file systems report a full disk or quota only here.
  return Succeeded(file.Close(), error);
}

bool NSFileManager::createDirectoryAtPath(const NSString* path, RetainPtr<NSError>* error) {
  return Succeeded(path ? darwin::MakeDirectory(path->fileSystemRepresentation()) : ENOENT, error);
}

bool NSFileManager::copyItemAtPath(const NSString* from, const NSString* to, RetainPtr<NSError>* error) {
  if (!from || !to) return Succeeded(ENOENT, error);
  return Succeeded(darwin::CopyTree(from->fileSystemRepresentation(), to->fileSystemRepresentation()), error);
}

RetainPtr<NSString> NSFileManager::currentDirectoryPath(RetainPtr<NSError>* error) {
  std::string path;
  return Succeeded(darwin::GetCurrentDirectory(path), error) ? NSString::stringWithFileSystemBytes(path) : nullptr;
}

RetainPtr<NSString> NSFileManager::destinationOfSymbolicLinkAtPath(const NSString* path) {
  if (!path) return nullptr;
  // Longer than nearly every text. Asking for the length first would be a second call, and the link may be replaced
  // between the two.
  constexpr std::size_t kUsualSize = 256;
  std::string text(kUsualSize, '\0');
  for (std::size_t length = 0;;) {
    if (darwin::ReadLinkText(path->fileSystemRepresentation(), text.data(), text.size(), length)) return nullptr;
    if (length < text.size()) return NSString::stringWithFileSystemBytes({text.data(), length});
    text.resize(2 * text.size());  // text that fills the buffer may have been cut off
  }
}

}  // namespace quill::foundation
