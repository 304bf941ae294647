// The reason of a failed platform operation: a domain and a code. Only failures create one.
#pragma once

#include "platform/foundation/NSString.h"

namespace quill::darwin {
class Error;
}

namespace quill::foundation {

/// The domains that the layer compares with. Codes of NSPOSIXErrorDomain are errno values of this system.
QUILL_EXPORT NSString* NSCocoaErrorDomain();
/// The domain whose codes are errno values.
QUILL_EXPORT NSString* NSPOSIXErrorDomain();

/// A domain and a code.
class QUILL_EXPORT NSError final : public NSObject {
 public:
  /// \p domain may be nil.
  static RetainPtr<NSError> errorWithDomain(NSString* domain, long code);

  /// The same in NSPOSIXErrorDomain, stored in *error; a null \p error means that the caller does not want it. Always
  /// false.
  static bool Give(darwin::Error cause, RetainPtr<NSError>* error);

  /// Null for nil. The error owns it.
  NSString* domain() const noexcept { return domainName_.get(); }
  /// As the domain numbers its errors.
  long code() const noexcept { return number_; }

 private:
  NSError(NSString* domain, long code) noexcept : domainName_(domain), number_(code) {}
  ~NSError() override = default;

  RetainPtr<NSString> domainName_;
  long number_;
};

}  // namespace quill::foundation
