// The platform string: immutable text, with the bytes that it was given.
//
// It is created from text, which must be valid UTF-8, or from a path of the file system, which may hold any bytes but
// NUL. A string and its bytes are one allocation. Every function here accepts nil (null) and gives the nil answer.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/foundation/NSObject.h"

namespace quill::foundation {

class NSCharacterSet;
class NSURL;

/// Immutable text.
class QUILL_EXPORT NSString final : public NSObject {
 public:
  /// Null for null and for text that is not valid UTF-8.
  static RetainPtr<NSString> stringWithUTF8String(const char* text);

  /// Any bytes without NUL, as a file system gives them; never null.
  static RetainPtr<NSString> stringWithFileSystemBytes(std::string_view bytes);

  /// The bytes, NUL-terminated; valid while the string lives.
  const char* UTF8String() const noexcept { return Bytes(); }
  /// The same bytes, as a path of the file system.
  const char* fileSystemRepresentation() const noexcept { return Bytes(); }
  /// The same bytes, without the NUL.
  std::string_view view() const noexcept { return {Bytes(), length_}; }

  /// Compares bytes; nil equals nothing.
  bool isEqualToString(const NSString* other) const noexcept;
  /// Compares bytes.
  bool containsString(std::string_view part) const noexcept { return view().find(part) != std::string_view::npos; }
  /// Compares bytes.
  bool hasPrefix(std::string_view prefix) const noexcept;
  /// Compares bytes.
  bool hasSuffix(std::string_view suffix) const noexcept;
  /// Every character is ASCII.
  bool canBeConvertedToASCII() const noexcept;

  /// Never null.
  RetainPtr<NSString> stringByAppendingString(std::string_view tail) const;
  /// Each occurrence, from the left, not overlapping; never null.
  RetainPtr<NSString> stringByReplacingOccurrencesOfString(std::string_view from, std::string_view to) const;
  /// The first \p bytes bytes.
  RetainPtr<NSString> substringToIndex(std::size_t bytes) const;

  /// Joined by exactly one "/"; an empty string gives the component alone.
  RetainPtr<NSString> stringByAppendingPathComponent(std::string_view component) const;
  /// A leading "~" or "~user" replaced by that home directory; any other path, and an unknown user, unchanged.
  RetainPtr<NSString> stringByExpandingTildeInPath() const;

  /// Every byte outside \p allowed, and every character outside ASCII whatever the set holds, as "%" and two upper-case
  /// hexadecimal digits. Null when the text is not UTF-8.
  RetainPtr<NSString> stringByAddingPercentEncodingWithAllowedCharacters(const NSCharacterSet& allowed) const;
  /// Null when an escape is malformed, or the result is not UTF-8 or holds NUL.
  RetainPtr<NSString> stringByRemovingPercentEncoding() const;

  /// The same two operations on text without creating a string of it first; null for null and for text that is not
  /// UTF-8. \p prefix is put in front of the encoded text unchanged.
  static RetainPtr<NSString> stringByAddingPercentEncodingToUTF8String(const char* text, const NSCharacterSet& allowed,
                                                                       std::string_view prefix);
  /// Null where stringByRemovingPercentEncoding is.
  static RetainPtr<NSString> stringByRemovingPercentEncodingFromUTF8String(const char* text);

  /// Encodes everything outside \p allowed in \p text, which need not be UTF-8, and puts the result between \p head and
  /// \p tail, which stay unchanged. Never null.
  static RetainPtr<NSString> PercentEncoded(std::string_view head, std::string_view text, const NSCharacterSet& allowed,
                                            std::string_view tail);

 private:
  explicit NSString(std::size_t size) noexcept : length_(size) {}
  ~NSString() override = default;
  static RetainPtr<NSString> WithLength(std::size_t length);
  static RetainPtr<NSString> Joined(std::string_view head, std::string_view middle, std::string_view tail);
  RetainPtr<NSString> Shared() const noexcept;

  friend class NSURL;
  /// The decoded text; null if stringByRemovingPercentEncoding is.
  static RetainPtr<NSString> PercentDecoded(std::string_view encoded);

  const char* Bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }
  char* MutableBytes() noexcept { return reinterpret_cast<char*>(this + 1); }
  void Shorten(std::size_t bytes) noexcept {
    length_ = bytes;
    MutableBytes()[bytes] = '\0';
  }

  // Unsized: the allocation is larger than the object, as it holds the bytes too.
  static void operator delete(void* memory) noexcept { ::operator delete(memory); }

  std::size_t length_;
};

}  // namespace quill::foundation
