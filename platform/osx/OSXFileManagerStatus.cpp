// What stands at a path.

#include "platform/foundation/NSFileManager.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/PlatformString.h"

using foundation::NSFileManager;
using foundation::NSFinalLink;

namespace {

constexpr double kMillisecondsPerSecond = 1000.0;

}  // namespace

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
  const auto text = PlatformString(path);
  if (!text) return false;
  const auto attributes = fileManager->attributesOfItemAtPath(text.get(), NSFinalLink::kTarget);
  if (!attributes) return false;
  size = attributes->fileSize();
  return true;
}

bool OSXFileManager::FileGetDates(const QuillFileString& path, double& created, double& modified) {
  if (!path.getUTF8()) return false;
  const auto attributes = fileManager->attributesOfItemAtPath(PlatformString(path).get(), NSFinalLink::kTarget);
  if (!attributes) return Fail(kQuillErrNotFound);

  const auto createdOn = attributes->creationDate();
  const auto modifiedOn = attributes->modificationDate();
  if (!createdOn || !modifiedOn) return Fail(kQuillErrNotFound);

  created = *createdOn * kMillisecondsPerSecond;
  modified = *modifiedOn * kMillisecondsPerSecond;
  return true;
}

unsigned int OSXFileManager::FileGetCreator(const QuillFileString& path) {
  if (!path.getUTF8()) return 0;
  const auto attributes = fileManager->attributesOfItemAtPath(PlatformString(path).get(), NSFinalLink::kTarget);
  const auto creator = attributes ? attributes->hfsCreatorCode() : std::nullopt;
  if (!creator) {
    SetLastError(kQuillErrNotFound);
    return 0;
  }
  return static_cast<unsigned int>(*creator);
}

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
  const auto volume = NSFileManager::defaultManager()->attributesOfFileSystemForPath(PlatformString(path).get());
  if (!volume) return false;
  totalBytes = volume->systemSize;
  freeBytes = volume->systemFreeSize;
  return true;
}

bool OSXFileManager::FileGetSpaceAvailable(const QuillFileString& path, double& freeBytes) {
  double unwanted = 0;
  return FileGetDiskSpace(path, freeBytes, unwanted);
}
