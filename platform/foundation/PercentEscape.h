// One percent escape: "%" and two hexadecimal digits (RFC 3986, section 2.1).
#pragma once

#include <cstddef>
#include <string_view>

namespace quill::foundation {

constexpr std::size_t kEscapeLength = 3;

/// The value of a hexadecimal digit, 0 to 15, or -1.
constexpr int HexadecimalValue(char digit) noexcept {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

/// The byte that the escape at \p position encodes; -1 if no escape begins there.
constexpr int EscapedByte(std::string_view text, std::size_t position) noexcept {
  if (text.size() - position < kEscapeLength || text[position] != '%') return -1;
  const int high = HexadecimalValue(text[position + 1]);
  const int low = HexadecimalValue(text[position + 2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

}  // namespace quill::foundation
