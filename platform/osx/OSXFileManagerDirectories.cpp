// Ensuring a directory chain.

#include <cerrno>

#include "platform/darwin/paths/Inheritance.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using foundation::NSError;
using foundation::NSFileManager;
using foundation::NSFinalLink;
using foundation::NSOwnership;
using foundation::NSString;
using foundation::RetainPtr;

namespace {

// Absent where it cannot be read.
using Ownership = std::optional<NSOwnership>;

Ownership OwnershipOf(const NSString* directory, NSFinalLink finalLink) {
  const auto attributes = NSFileManager::defaultManager()->attributesOfItemAtPath(directory, finalLink);
  return attributes ? Ownership(attributes->ownership()) : std::nullopt;
}

// Gives a new directory what its parent has, as far as it is not so already, and tells what it has then. A refused
// change stops nobody: the directory is there.
Ownership Inherit(const Ownership& parent, const NSString* directory, const std::timespec& beginning) {
  const auto own = OwnershipOf(directory, NSFinalLink::kItself);
  if (!parent || !own || *parent == *own) return own;
  const bool isRefused = static_cast<bool>(darwin::InheritOwnership(directory->fileSystemRepresentation(), beginning));
  return isRefused ? OwnershipOf(directory, NSFinalLink::kItself) : parent;
}

}  // namespace

bool OSXFileManager::DirEnsure(const QuillFileString& directory) {
  quill::Operation operation(*this, __func__, directory);
  const auto text = PlatformString(directory);
  if (!text || directory.isEmpty()) return operation.FailWithoutText();
  bool isDirectory = false;
  if (_FileExists(directory, &isDirectory)) return isDirectory || operation.FailSilently(ENOTDIR);

  auto ensured = NSString::stringWithUTF8String("");
  const auto here = NSString::stringWithUTF8String(".");
  const auto beginning = darwin::TimeOfNewItems();
  Ownership inherited;  // known below a directory that was created here
  for (const auto component : text->pathComponents()) {
    auto candidate = ensured->stringByAppendingPathComponent(component);
    // Nothing can be missing from a directory that did not exist a moment ago, so only creation is tried there.
    bool exists = !inherited && fileManager->fileExistsAtPath(candidate.get(), &isDirectory);
    if (exists && !isDirectory) return operation.FailSilently(ENOTDIR);

    RetainPtr<NSError> error;
    if (!exists && !fileManager->createDirectoryAtPath(candidate.get(), &error)) {
      // Somebody else may have been quicker.
      exists = fileManager->fileExistsAtPath(candidate.get(), &isDirectory) && isDirectory;
      if (!exists) return operation.Fail(error.get());
    }
    if (exists) {
      inherited.reset();
    } else {
      if (!inherited) {
        inherited = OwnershipOf(ensured->view().empty() ? here.get() : ensured.get(), NSFinalLink::kTarget);
      }
      inherited = Inherit(inherited, candidate.get(), beginning);
    }
    ensured = std::move(candidate);
  }
  return true;
}
