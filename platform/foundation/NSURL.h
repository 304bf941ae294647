// A URL or relative reference (RFC 3986), kept as its text.
#pragma once

#include "platform/foundation/NSString.h"

namespace foundation {

class QUILL_EXPORT NSURL final : public NSObject {
 public:
  /// Null for nil and for text that is not a URI reference by RFC 3986, section 4.1.
  static RetainPtr<NSURL> URLWithString(const NSString* text);
  /// A file URL. A relative path counts from the current directory; the URL ends in "/" when the path does or names an
  /// existing directory. Null for nil and where there is no current directory to count from.
  static RetainPtr<NSURL> fileURLWithPath(const NSString* path);

  NSString* absoluteString() const noexcept { return text.get(); }
  /// The path component, percent-decoded, without a trailing "/" (the root stays "/"). Null when the escapes do not
  /// give text.
  RetainPtr<NSString> path() const;

 private:
  explicit NSURL(RetainPtr<NSString> whole) noexcept : text(std::move(whole)) {}
  ~NSURL() override = default;

  RetainPtr<NSString> text;
};

}  // namespace foundation
