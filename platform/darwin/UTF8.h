// Judges whether bytes are text, and reads and writes its characters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace darwin {

/// Every byte is ASCII; such text is in every normalization form already.
bool IsASCII(std::string_view bytes) noexcept;

/// Well-formed by Unicode 15.0, table 3-7: neither overlong forms nor surrogates nor anything past U+10FFFF.
bool IsUTF8(std::string_view bytes) noexcept;

/// The longest part at the beginning of \p bytes that is UTF-8.
std::string_view UTF8Prefix(std::string_view bytes) noexcept;

/// Reads the character at \p position, which must lie within \p bytes, and moves on past it; negative when the bytes
/// there are ill-formed.
int NextCharacter(std::string_view bytes, std::size_t& position) noexcept;

/// \p character must be a Unicode scalar value.
void AppendCharacter(std::string& text, int character);

}  // namespace darwin
