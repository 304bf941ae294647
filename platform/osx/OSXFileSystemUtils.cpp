#include "platform/osx/OSXFileSystemUtils.h"

#include <cerrno>

#include "host/QuillErr.h"
#include "platform/darwin/names/Normalization.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/NSURL.h"
#include "platform/osx/PlatformString.h"

namespace OSXFileSystemUtils {
namespace {

// Cocoa's published error codes, under their published names (FoundationErrors.h).
// NOLINTBEGIN(readability-identifier-naming)
// Only those with a row of their own. An existing file (516) and a read-only volume (642) have none, although their
// errno values do: hosts get kQuillErrIO for them.
enum CocoaError {
  NSFileNoSuchFileError = 4,
  NSFileLockingError = 255,
  NSFileReadNoPermissionError = 257,
  NSFileReadInvalidFileNameError = 258,
  NSFileReadNoSuchFileError = 260,
  NSFileWriteNoPermissionError = 513,
  NSFileWriteInvalidFileNameError = 514,
  NSFileWriteOutOfSpaceError = 640,
};
// NOLINTEND(readability-identifier-naming)

}  // namespace

int _PosixErrToQuillErr(int posixError) noexcept {
  switch (posixError) {
    // POSIX answers EPERM when unlink is called on a directory, and that is what the code means to hosts. Linux also
    // has EPERM for what only an owner or root may do (chmod(2)); the code is the same.
    case EPERM:
      return kQuillErrNotAFile;
    case ENOENT:
      return kQuillErrNotFound;
    case EACCES:
      return kQuillErrAccessDenied;
    case EBUSY:
      return kQuillErrInUse;
    case EEXIST:
      return kQuillErrAlreadyExists;
    case ENOTDIR:
      return kQuillErrNotADirectory;
    case EINVAL:
    case ELOOP:
    case ENAMETOOLONG:
      return kQuillErrIllegalPath;
    case ENOSPC:
    case EDQUOT:
      return kQuillErrNoSpace;
    case EROFS:
      return kQuillErrReadOnlyMedia;
    case ENOTEMPTY:
      return kQuillErrDirNotEmpty;
    // Also 0, which no failed call leaves: a translation is only asked for after a failure.
    case EIO:
    default:
      return kQuillErrIO;
  }
}

int _CocoaErrToQuillErr(int cocoaError) noexcept {
  switch (cocoaError) {
    case NSFileNoSuchFileError:
    case NSFileReadNoSuchFileError:
      return kQuillErrNotFound;
    case NSFileLockingError:
      return kQuillErrInUse;
    case NSFileReadNoPermissionError:
    case NSFileWriteNoPermissionError:
      return kQuillErrAccessDenied;
    case NSFileReadInvalidFileNameError:
    case NSFileWriteInvalidFileNameError:
      return kQuillErrIllegalPath;
    case NSFileWriteOutOfSpaceError:
      return kQuillErrNoSpace;
    default:
      return kQuillErrIO;
  }
}

int _NSErrorToQuillErr(const foundation::NSError* error) noexcept {
  // Whoever records this clears the last error, although something has failed.
  if (!error || error->code() == 0) return kQuillErrNone;
  const foundation::NSString* domain = error->domain();
  if (!domain) return kQuillErrIO;
  const int code = static_cast<int>(error->code());  // the tables take the low 32 bits
  if (domain->isEqualToString(foundation::NSCocoaErrorDomain())) return _CocoaErrToQuillErr(code);
  if (domain->isEqualToString(foundation::NSPOSIXErrorDomain())) return _PosixErrToQuillErr(code);
  return kQuillErrIO;
}

// Always true, also for nil, which leaves the result as it was. The contract wants a bool.
bool SetQuillFileStringFromNSStringPath(const foundation::NSString* text, QuillFileString& result, bool normalize) {
  if (!text) return true;
  if (normalize) {
    SetInFormC(text->UTF8String(), result);
  } else {
    result.setUTF8(text->UTF8String());
  }
  return true;
}

// For hosts; the layer itself takes its URLs apart in OSXFileManagerUrls.cpp.
bool _GetFilePathFromNSURL(const foundation::NSURL* url, QuillFileString& result) {
  if (!url) return false;
  const auto path = url->path();
  if (!path) return false;
  return SetQuillFileStringFromNSStringPath(path.get(), result, /*normalize=*/true);
}

}  // namespace OSXFileSystemUtils

// ASCII is its own Form C.
void quill::SetInFormC(const char* text, QuillFileString& path) {
  path.setUTF8(darwin::IsASCII(text) ? text : darwin::FormC(text).c_str());
}
