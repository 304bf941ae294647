// What is at a path.

#include <cerrno>

#include "platform/foundation/NSFileManager.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using foundation::NSError;
using foundation::NSFileManager;
using foundation::NSFinalLink;
using foundation::RetainPtr;
using quill::Operation;

namespace {

constexpr double kMillisecondsPerSecond = 1000.0;

}  // namespace

// Links are followed, so a dangling link does not exist. False also when the path cannot be searched: existence has two
// answers and no code.
bool _FileExists(const QuillFileString& path, bool* isDirectory) {
  const auto text = PlatformString(path);
  return text && NSFileManager::defaultManager()->fileExistsAtPath(text.get(), isDirectory);
}

bool OSXFileManager::FileExists(const QuillFileString& path) { return _FileExists(path, nullptr); }

bool OSXFileManager::FileIsDir(const QuillFileString& path) {
  bool isDirectory = false;
  return _FileExists(path, &isDirectory) && isDirectory;
}

bool OSXFileManager::FileGetSize(const QuillFileString& path, long long& size) {
  Operation operation(*this, __func__, path);
  const auto text = PlatformString(path);
  if (!text) return operation.FailWithoutText();
  RetainPtr<NSError> error;
  const auto attributes = fileManager->attributesOfItemAtPath(text.get(), NSFinalLink::kTarget, &error);
  // No code, unlike the two operations below: the contract has none here.
  if (!attributes) return operation.FailSilently(error.get());
  size = attributes->fileSize();
  return true;
}

bool OSXFileManager::FileGetDates(const QuillFileString& path, double& created, double& modified) {
  Operation operation(*this, __func__, path);
  if (!path.getUTF8()) return operation.FailWithoutText();
  RetainPtr<NSError> error;
  const auto attributes = fileManager->attributesOfItemAtPath(PlatformString(path).get(), NSFinalLink::kTarget, &error);
  // One code for every reason, a directory that may not be searched included; the note knows better.
  if (!attributes) return operation.Fail(kQuillErrNotFound, quill::CauseOf(error.get()));
  // Both or neither: nothing can fail from here on.
  created = attributes->creationDate() * kMillisecondsPerSecond;
  modified = attributes->modificationDate() * kMillisecondsPerSecond;
  return true;
}

// 0 is the answer of a failure, and also a code that an item may have; only the recorded code tells them apart.
unsigned int OSXFileManager::FileGetCreator(const QuillFileString& path) {
  Operation operation(*this, __func__, path);
  if (!path.getUTF8()) return operation.FailWithoutText(), 0;
  RetainPtr<NSError> error;
  const auto attributes = fileManager->attributesOfItemAtPath(PlatformString(path).get(), NSFinalLink::kTarget, &error);
  const auto creator = attributes ? attributes->hfsCreatorCode() : std::nullopt;
  // The low 32 bits, which is all that the contract's type holds.
  if (creator) return static_cast<unsigned int>(*creator);
  return operation.Fail(kQuillErrNotFound, attributes ? darwin::Error(ENODATA) : quill::CauseOf(error.get())), 0;
}

// Levels, not bits: what may be written but not read counts as no access.
int OSXFileManager::FileGetEffectivePermissions(const QuillFileString& path) {
  enum Level { kNothingThere = 0, kNoReading = 1, kReading = 2, kReadingAndWriting = 3 };

  const auto text = PlatformString(path);
  if (!fileManager->fileExistsAtPath(text.get())) return kNothingThere;
  const bool readable = fileManager->isReadableFileAtPath(text.get());
  const bool writable = fileManager->isWritableFileAtPath(text.get());
  if (!readable) return kNoReading;
  return writable ? kReadingAndWriting : kReading;
}

bool OSXFileManager::FileGetDiskSpace(const QuillFileString& path, double& freeBytes, double& totalBytes) {
  Operation operation(*this, __func__, path);
  RetainPtr<NSError> error;
  // The text of a path may be missing here: nil has no volume and no reason.
  const auto volume =
      NSFileManager::defaultManager()->attributesOfFileSystemForPath(PlatformString(path).get(), &error);
  if (!volume) return operation.FailSilently(error.get());
  totalBytes = volume->systemSize;
  freeBytes = volume->systemFreeSize;
  return true;
}

bool OSXFileManager::FileGetSpaceAvailable(const QuillFileString& path, double& freeBytes) {
  Operation operation(*this, __func__, path);
  // Through the table as well: a host that measures space in its own way overrides one entry.
  double unwanted = 0;
  return operation.Answer(FileGetDiskSpace(path, freeBytes, unwanted));
}
