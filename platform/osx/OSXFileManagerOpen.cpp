// Opening files: a path and flags become a file object.

#include <memory>

#include "platform/foundation/NSData.h"
#include "platform/foundation/NSException.h"
#include "platform/foundation/NSFileHandle.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/FILEWrapper.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/PlatformString.h"

using foundation::NSData;
using foundation::NSFileHandle;
using foundation::NSString;
using foundation::RetainPtr;

namespace {

constexpr unsigned int kAppendFlags = kQuillOpenWrite | kQuillOpenCreate | kQuillOpenAppend;
constexpr unsigned int kChangingFlags = kQuillOpenCreate | kQuillOpenTruncate;
constexpr unsigned int kTempFlags = kQuillOpenTemp | kQuillOpenCreate | kQuillOpenWrite | kQuillOpenRead;

// A file that cannot be emptied is opened all the same.
void EmptyFile(const NSString* path) {
  const auto handle = NSFileHandle::fileHandleForWritingAtPath(path);
  if (!handle) return;
  try {
    handle->truncateFileAtOffset(0);
  } catch (const foundation::NSException&) {
    // Ignored, as a missing handle is.
  }
}

RetainPtr<NSFileHandle> OpenHandle(const NSString* path, unsigned int flags) {
  const bool reads = (flags & kQuillOpenRead) != 0;
  const bool writes = (flags & kQuillOpenWrite) != 0;
  if (reads && writes) return NSFileHandle::fileHandleForUpdatingAtPath(path);
  if (writes) return NSFileHandle::fileHandleForWritingAtPath(path);
  if (reads) return NSFileHandle::fileHandleForReadingAtPath(path);
  return nullptr;
}

}  // namespace

IQuillFileReadWriteTemp* OSXFileManager::FileOpen(const QuillFileString& path, unsigned int flags) {
  if (FileIsDir(path)) {
    SetLastError(kQuillErrNotAFile);
    return nullptr;
  }
  return _FileOpen(path, flags);
}

IQuillFileReadOnly* OSXFileManager::FileOpenReadOnly(const QuillFileString& path) {
  return _FileOpen(path, kQuillOpenRead);
}

IQuillFileAppendOnly* OSXFileManager::FileOpenAppend(const QuillFileString& path, ETruncateOnOpen truncate) {
  const unsigned int emptied = truncate == kQuillTruncateOnOpen ? kQuillOpenTruncate : 0u;
  return _FileOpen(path, kAppendFlags | emptied);
}

IQuillFileReadWriteTemp* OSXFileManager::FileOpenTemp() {
  QuillFileString chosenByTheHost;
  FILEWrapper* file = _FileOpen(chosenByTheHost, kTempFlags);
  if (file) file->setAutoDelete(true);
  return file;
}

FILEWrapper* OSXFileManager::_FileOpen(const QuillFileString& requested, unsigned int flags) {
  QuillFileString path(requested);
  if (!ValidateFileOpenFlags(flags)) return nullptr;
  if ((flags & kQuillOpenTemp) && !FileGetTempPath(path)) return nullptr;

  const auto fileObject = [&](NSFileHandle& handle) {
    if (flags & kQuillOpenAppend) (void)handle.seekToEndOfFile();
    return new FILEWrapper(*this, path, &handle, /*autoDelete=*/false);
  };
  auto text = PlatformString(path);
  if (!(flags & kChangingFlags)) {
    // What opens exists and need not be asked about; what does not open takes every step.
    if (const auto handle = OpenHandle(text.get(), flags)) return fileObject(*handle);
  }
  bool exists = fileManager->fileExistsAtPath(text.get());
  if (!exists && (flags & kQuillOpenRead) && !(flags & kQuillOpenWrite)) {
    QuillFileString posixPath;
    (void)FileGetPOSIXPath(path, posixPath);  // always true
    text = PlatformString(posixPath);
    exists = fileManager->fileExistsAtPath(text.get());
  }

  if (exists && (flags & kQuillOpenTruncate)) EmptyFile(text.get());
  if (!exists && (flags & kQuillOpenCreate) && !fileManager->createFileAtPath(text.get())) {
    SetLastError(kQuillErrIO);
    return nullptr;
  }

  const auto handle = OpenHandle(text.get(), flags);
  if (!handle) {
    RecordWhyNoHandle(text.get(), flags);
    return nullptr;
  }
  return fileObject(*handle);
}

// What could be opened exists, so whether it does is asked only now. Many reasons have no code.
void OSXFileManager::RecordWhyNoHandle(const NSString* path, unsigned int flags) {
  if (!fileManager->fileExistsAtPath(path)) return SetLastError(kQuillErrNotFound);
  const bool refused = ((flags & kQuillOpenRead) && !fileManager->isReadableFileAtPath(path)) ||
                       ((flags & kQuillOpenWrite) && !fileManager->isWritableFileAtPath(path));
  if (refused) SetLastError(kQuillErrAccessDenied);
}

bool OSXFileManager::FileGetPOSIXPath(const QuillFileString& path, QuillFileString& result) {
  result = path;
  const auto text = PlatformString(path);
  if (!text || !text->containsString(":")) return true;
  const auto separated = text->stringByReplacingOccurrencesOfString(":", "/");
  result.setUTF8(NSString::stringWithUTF8String("/")->stringByAppendingString(separated->view())->UTF8String());
  return true;
}

bool OSXFileManager::_FileCreate(const QuillFileString& path) {
  if (!path.getUTF8()) return false;
  if (!NSData{}.writeToFile(PlatformString(path).get())) return Fail(kQuillErrIO);
  return true;
}

bool OSXFileManager::FileGetLSize(const QuillFileString& path, unsigned long long& size) {
  const std::unique_ptr<IQuillFileReadOnly> file(FileOpenReadOnly(path));
  if (!file) {
    if (!FileIsDir(path)) return false;
    size = 0;
    return true;
  }
  long long known = 0;
  if (!file->Size(known)) return false;
  size = static_cast<unsigned long long>(known);
  return true;
}
