// The bridge between the platform's forms and the host's: error numbers to host codes, platform strings to path
// strings.
//
// The translations keep no state and may be called from any thread. _MoveItemAtPath and _RemoveItemAtPath have their
// bodies in the host.
#pragma once

#include "host/Export.h"

class QuillFileString;

namespace quill::foundation {
class NSError;
class NSString;
class NSURL;
}  // namespace quill::foundation

namespace OSXFileSystemUtils {

/// The host code of an errno value of this system; kQuillErrIO for 0 and for every value without a row.
QUILL_EXPORT int _PosixErrToQuillErr(int posixError) noexcept;

/// The host code of a Cocoa error code (Foundation's FoundationErrors.h); kQuillErrIO for every value without a row.
QUILL_EXPORT int _CocoaErrToQuillErr(int cocoaError) noexcept;

/// The host code of an error object, by its domain. kQuillErrNone for null and for code 0.
QUILL_EXPORT int _NSErrorToQuillErr(const quill::foundation::NSError* error) noexcept;

/// Stores \p text into \p result, in Normalization Form C when \p normalize is true. Always true; for nil the result
/// keeps what it held.
QUILL_EXPORT bool SetQuillFileStringFromNSStringPath(const quill::foundation::NSString* text, QuillFileString& result,
                                                     bool normalize);

/// Stores a URL's path, in Normalization Form C. False, and \p result untouched, for nil and a URL without a path.
QUILL_EXPORT bool _GetFilePathFromNSURL(const quill::foundation::NSURL* url, QuillFileString& result);

/// Moves an item; nothing that stands at \p to is ever replaced. On false \p code holds the host code.
QUILL_EXPORT bool _MoveItemAtPath(const quill::foundation::NSString* from, const quill::foundation::NSString* to,
                                  int& code);

/// Removes an item, a directory with everything in it. On false \p code holds the host code of the first cause; all
/// that could be removed is gone.
QUILL_EXPORT bool _RemoveItemAtPath(const quill::foundation::NSString* path, int& code);

}  // namespace OSXFileSystemUtils
