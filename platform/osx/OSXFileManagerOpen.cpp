// Opening files: a path and flags become a file object.
//
// All ways of opening end in _FileOpen. An open that changes nothing tries for a handle at once, so that the usual one
// costs a single look-up. For the others the order of the steps can be seen from outside: a file is emptied or created
// before the handle is made, and stays so if that fails.

#include <cerrno>
#include <memory>

#include "platform/foundation/NSException.h"
#include "platform/foundation/NSFileHandle.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/FILEWrapper.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using foundation::NSError;
using foundation::NSFileHandle;
using foundation::NSString;
using foundation::RetainPtr;
using quill::Operation;

namespace {

constexpr unsigned int kAppendFlags = kQuillOpenWrite | kQuillOpenCreate | kQuillOpenAppend;
constexpr unsigned int kChangingFlags = kQuillOpenCreate | kQuillOpenTruncate;
constexpr unsigned int kTempFlags = kQuillOpenTemp | kQuillOpenCreate | kQuillOpenWrite | kQuillOpenRead;

// A file that cannot be emptied is opened all the same.
// The size of the new object shows whether it worked.
void EmptyFile(const NSString* path) {
  const auto handle = NSFileHandle::fileHandleForWritingAtPath(path);
  if (!handle) return;
  try {
    handle->truncateFileAtOffset(0);
  } catch (const foundation::NSException&) {
    // Ignored, as a missing handle is.
  }
}

// Null for flags that ask for neither access: a host's own ValidateFileOpenFlags may let them pass.
RetainPtr<NSFileHandle> OpenHandle(const NSString* path, unsigned int flags, RetainPtr<NSError>* error) {
  const bool reads = (flags & kQuillOpenRead) != 0;
  const bool writes = (flags & kQuillOpenWrite) != 0;
  if (reads && writes) return NSFileHandle::fileHandleForUpdatingAtPath(path, error);
  if (writes) return NSFileHandle::fileHandleForWritingAtPath(path, error);
  if (reads) return NSFileHandle::fileHandleForReadingAtPath(path, error);
  return nullptr;
}

// What could be opened exists, so whether it does is asked only when it could not. Many reasons have no code.
void ReportNoHandle(Operation& operation, const NSString* path, unsigned int flags, const NSError* reason) {
  auto* const shared = foundation::NSFileManager::defaultManager();
  const auto cause = quill::CauseOf(reason);
  if (!shared->fileExistsAtPath(path)) return (void)operation.Fail(kQuillErrNotFound, cause);
  // Asked only after the open has failed. Asking beforehand would leave time for the answer to become wrong, and cost
  // every open more calls.
  const bool refused = ((flags & kQuillOpenRead) && !shared->isReadableFileAtPath(path)) ||
                       ((flags & kQuillOpenWrite) && !shared->isWritableFileAtPath(path));
  (void)(refused ? operation.Fail(kQuillErrAccessDenied, cause) : operation.FailSilently(cause));  // all are false
}

}  // namespace

IQuillFileReadWriteTemp* OSXFileManager::FileOpen(const QuillFileString& path, unsigned int flags) {
  Operation operation(*this, __func__, path);
  // Only this operation has a code for directories. The others get no handle for one, as for all that
  // cannot be opened.
  if (!FileIsDir(path)) return operation.Answer(_FileOpen(path, flags));
  (void)operation.Fail(kQuillErrNotAFile, EISDIR);
  return nullptr;
}

IQuillFileReadOnly* OSXFileManager::FileOpenReadOnly(const QuillFileString& path) {
  Operation operation(*this, __func__, path);
  return operation.Answer(_FileOpen(path, kQuillOpenRead));
}

IQuillFileAppendOnly* OSXFileManager::FileOpenAppend(const QuillFileString& path, ETruncateOnOpen truncate) {
  Operation operation(*this, __func__, path);
  const unsigned int emptied = truncate == kQuillTruncateOnOpen ? kQuillOpenTruncate : 0u;
  return operation.Answer(_FileOpen(path, kAppendFlags | emptied));
}

IQuillFileReadWriteTemp* OSXFileManager::FileOpenTemp() {
  Operation operation(*this, __func__);
  QuillFileString chosenByTheHost;
  // Auto-delete begins when there is an object. Removing a file that was made and could not be opened is left to the
  // host that made it; see StandaloneFileManager.
  FILEWrapper* const file = operation.Answer(_FileOpen(chosenByTheHost, kTempFlags));
  if (file) file->setAutoDelete(true);
  return file;
}

// Works on a copy of the path, because FileGetTempPath may replace it. The copy is also the object's name, even where
// the file was found under the POSIX form.
FILEWrapper* OSXFileManager::_FileOpen(const QuillFileString& requested, unsigned int flags) {
  QuillFileString path(requested);
  Operation operation(*this, __func__, path);
  if (!ValidateFileOpenFlags(flags)) return operation.FailSilently(EINVAL), nullptr;
  if ((flags & kQuillOpenTemp) && !FileGetTempPath(path)) return operation.FailAsCalled(), nullptr;

  const auto fileObject = [&](NSFileHandle& handle) {
    if (flags & kQuillOpenAppend) (void)handle.seekToEndOfFile();
    return new FILEWrapper(*this, path, &handle, /*autoDelete=*/false);
  };
  auto text = PlatformString(path);
  if (!(flags & kChangingFlags)) {
    // If it opens, it exists; only a failed open takes the long way.
    if (const auto handle = OpenHandle(text.get(), flags, nullptr)) return fileObject(*handle);
  }
  bool exists = fileManager->fileExistsAtPath(text.get());
  // Only reading falls back to the POSIX form. Writing must create the file under the name that it was given.
  if (!exists && (flags & kQuillOpenRead) && !(flags & kQuillOpenWrite)) {
    QuillFileString posixPath;
    (void)FileGetPOSIXPath(path, posixPath);  // always true
    text = PlatformString(posixPath);
    exists = fileManager->fileExistsAtPath(text.get());
  }

  RetainPtr<NSError> error;
  if (exists && (flags & kQuillOpenTruncate)) EmptyFile(text.get());
  // One code for every reason; the note keeps the reason itself.
  if (!exists && (flags & kQuillOpenCreate) && !fileManager->createFileAtPath(text.get(), &error)) {
    return operation.Fail(kQuillErrIO, quill::CauseOf(error.get())), nullptr;
  }

  const auto handle = OpenHandle(text.get(), flags, &error);
  if (handle) return fileObject(*handle);
  ReportNoHandle(operation, text.get(), flags, error.get());
  return nullptr;
}

// The first name of a path with colons is a volume, so the result is absolute: ":a" becomes "//a".
bool OSXFileManager::FileGetPOSIXPath(const QuillFileString& path, QuillFileString& result) {
  result = path;
  const auto text = PlatformString(path);
  if (!text || !text->containsString(":")) return true;
  const auto separated = text->stringByReplacingOccurrencesOfString(":", "/");
  result.setUTF8(NSString::stringWithUTF8String("/")->stringByAppendingString(separated->view())->UTF8String());
  return true;
}

// For hosts; the layer itself has no use for it.
bool OSXFileManager::_FileCreate(const QuillFileString& path) {
  Operation operation(*this, __func__, path);
  if (!path.getUTF8()) return operation.FailWithoutText();
  RetainPtr<NSError> error;
  const bool isMade = fileManager->createFileAtPath(PlatformString(path).get(), &error, /*empties=*/true);
  return isMade || operation.Fail(kQuillErrIO, quill::CauseOf(error.get()));
}

bool OSXFileManager::FileGetLSize(const QuillFileString& path, unsigned long long& size) {
  Operation operation(*this, __func__, path);
  // Through the table, so that a host which opens files in its own way is asked for their size as well.
  const std::unique_ptr<IQuillFileReadOnly> file(FileOpenReadOnly(path));
  if (!file) {
    // A directory is a success with size 0, so the note stays as it was. A code that the refused open recorded stays,
    // too.
    if (!FileIsDir(path)) return operation.FailAsCalled();
    size = 0;
    return true;
  }
  long long known = 0;
  if (!file->Size(known)) return operation.FailSilently(darwin::Error());
  size = static_cast<unsigned long long>(known);
  return true;
}
