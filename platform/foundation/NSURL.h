// A URL or relative reference (RFC 3986), kept as its text.
#pragma once

#include "platform/foundation/NSString.h"
#include "platform/foundation/URIReference.h"

namespace quill::foundation {

/// A URL or relative reference.
class QUILL_EXPORT NSURL final : public NSObject {
 public:
  /// Null for nil and for text that is not a URI reference by RFC 3986, section 4.1.
  static RetainPtr<NSURL> URLWithString(const NSString* text);
  /// A file URL. A relative path starts at the current directory; the URL ends in "/" when the path does or names an
  /// existing directory. Bytes that are not UTF-8 are encoded like any others. Null for nil, and for a relative path if
  /// there is no current directory.
  static RetainPtr<NSURL> fileURLWithPath(const NSString* path);

  /// The whole text; owned by the URL.
  NSString* absoluteString() const noexcept { return text_.get(); }
  /// The path component, percent-decoded, without the "/" that end it (the root stays "/"; an escaped one is data).
  /// Null when the escapes do not give text: when they hold NUL or are not UTF-8.
  RetainPtr<NSString> path() const;

 private:
  NSURL(RetainPtr<NSString> whole, URIRange path) noexcept : text_(std::move(whole)), pathRange_(path) {}
  ~NSURL() override = default;

  RetainPtr<NSString> text_;
  URIRange pathRange_;
};

}  // namespace quill::foundation
