// Percent-encoding, RFC 3986, section 2.1. A result is one allocation: encoding measures first, and decoded text is
// never longer than encoded text.
#include <algorithm>

#include "platform/darwin/names/UTF8.h"
#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/PercentEscape.h"

namespace quill::foundation {
namespace {

// What is added is 0 or 1 for each byte, so the loop has no branch that depends on the text.
std::size_t EncodedLength(std::string_view text, const NSCharacterSet& allowed) noexcept {
  std::size_t escapes = 0;
  for (const char character : text) escapes += !allowed.contains(character);
  return text.size() + 2 * escapes;
}

char* Encode(std::string_view text, const NSCharacterSet& allowed, char* output) noexcept {
  // In upper case, by which FileGetUrlPath finds the colon of a scheme again.
  constexpr char kDigits[] = "0123456789ABCDEF";
  for (const char character : text) {
    if (allowed.contains(character)) {
      *output++ = character;
      continue;
    }
    const auto byte = static_cast<unsigned char>(character);
    *output++ = '%';
    *output++ = kDigits[byte >> 4];
    *output++ = kDigits[byte & 0xF];
  }
  return output;
}

char* Append(std::string_view text, char* output) noexcept { return std::copy(text.begin(), text.end(), output); }

/// Returns the end of the output, which is at most as long as the input; null if an escape is malformed or encodes NUL.
char* Decode(std::string_view encoded, char* output) noexcept {
  for (std::size_t position = 0; position < encoded.size(); ++position) {
    if (encoded[position] != '%') {
      *output++ = encoded[position];
      continue;
    }
    const int byte = EscapedByte(encoded, position);
    // NUL would end the text early, and a path would name another item than its URL.
    if (byte <= 0) return nullptr;
    *output++ = static_cast<char>(byte);
    position += kEscapeLength - 1;
  }
  return output;
}

}  // namespace

RetainPtr<NSString> NSString::PercentEncoded(std::string_view head, std::string_view text,
                                             const NSCharacterSet& allowed, std::string_view tail) {
  auto result = WithLength(head.size() + EncodedLength(text, allowed) + tail.size());
  char* const afterText = Encode(text, allowed, Append(head, result->MutableBytes()));
  Append(tail, afterText);
  return result;
}

RetainPtr<NSString> NSString::PercentDecoded(std::string_view encoded) {
  auto result = WithLength(encoded.size());
  const char* const end = Decode(encoded, result->MutableBytes());
  if (!end) return nullptr;
  // Escapes become shorter. The rest of the allocation stays unused, which is cheaper than a copy.
  result->Shorten(static_cast<std::size_t>(end - result->Bytes()));
  // Judged after decoding: each escape is one byte, and only together they are characters.
  if (!darwin::IsUTF8(result->view())) return nullptr;
  return result;
}

RetainPtr<NSString> NSString::stringByAddingPercentEncodingWithAllowedCharacters(const NSCharacterSet& allowed) const {
  return stringByAddingPercentEncodingToUTF8String(UTF8String(), allowed, {});
}

RetainPtr<NSString> NSString::stringByRemovingPercentEncoding() const { return PercentDecoded(view()); }

RetainPtr<NSString> NSString::stringByAddingPercentEncodingToUTF8String(const char* text, const NSCharacterSet& allowed,
                                                                        std::string_view prefix) {
  if (!text || !darwin::IsUTF8(text)) return nullptr;
  return PercentEncoded(prefix, text, allowed, {});
}

RetainPtr<NSString> NSString::stringByRemovingPercentEncodingFromUTF8String(const char* text) {
  if (!text || !darwin::IsUTF8(text)) return nullptr;
  return PercentDecoded(text);
}

}  // namespace quill::foundation
