#include "platform/foundation/NSError.h"

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

}  // namespace quill::foundation
