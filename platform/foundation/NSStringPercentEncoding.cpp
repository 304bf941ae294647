// Percent-encoding, RFC 3986, section 2.1. Each direction measures first, so that a result is one allocation.
#include <algorithm>

#include "platform/darwin/UTF8.h"
#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/PercentEscape.h"

namespace foundation {
namespace {

std::size_t EncodedLength(std::string_view text, const NSCharacterSet& allowed) noexcept {
  std::size_t escapes = 0;
  for (const char character : text) escapes += !allowed.contains(character);
  return text.size() + 2 * escapes;
}

char* Encode(std::string_view text, const NSCharacterSet& allowed, char* output) noexcept {
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

/// False when an escape is malformed or stands for NUL. The output is shorter by two bytes for each escape.
bool Decode(std::string_view encoded, char* output) noexcept {
  for (;;) {
    const std::size_t run = std::min(encoded.find('%'), encoded.size());
    output = Append(encoded.substr(0, run), output);
    if (run == encoded.size()) return true;
    const int byte = EscapedByte(encoded, run);
    if (byte <= 0) return false;
    *output++ = static_cast<char>(byte);
    encoded.remove_prefix(run + kEscapeLength);
  }
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
  const auto escapes = static_cast<std::size_t>(std::count(encoded.begin(), encoded.end(), '%'));
  if (escapes * kEscapeLength > encoded.size()) return nullptr;
  auto result = WithLength(encoded.size() - escapes * (kEscapeLength - 1));
  if (!Decode(encoded, result->MutableBytes()) || !darwin::IsUTF8(result->view())) return nullptr;
  return result;
}

RetainPtr<NSString> NSString::stringByAddingPercentEncodingWithAllowedCharacters(const NSCharacterSet& allowed) const {
  if (!darwin::IsUTF8(view())) return nullptr;
  return PercentEncoded({}, view(), allowed, {});
}

RetainPtr<NSString> NSString::stringByRemovingPercentEncoding() const { return PercentDecoded(view()); }

}  // namespace foundation
