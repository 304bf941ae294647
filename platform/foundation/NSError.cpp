#include "platform/foundation/NSError.h"

#include "platform/darwin/descriptors/Error.h"

namespace quill::foundation {

// The domains live as long as the program: an error may outlive every other static object.
NSString* NSCocoaErrorDomain() {
  static NSString* const domain = NSString::stringWithFileSystemBytes("NSCocoaErrorDomain").Leak();
  return domain;
}

NSString* NSPOSIXErrorDomain() {
  static NSString* const domain = NSString::stringWithFileSystemBytes("NSPOSIXErrorDomain").Leak();
  return domain;
}

RetainPtr<NSError> NSError::errorWithDomain(NSString* domain, long code) {
  return RetainPtr<NSError>::Adopt(new NSError(domain, code));
}

// Without a variable no object is made: most callers ask nothing but whether it worked.
bool NSError::Give(darwin::Error cause, RetainPtr<NSError>* error) {
  if (error) *error = errorWithDomain(NSPOSIXErrorDomain(), cause.posix());
  return false;
}

}  // namespace quill::foundation
