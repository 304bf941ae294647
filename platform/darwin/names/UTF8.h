// Judges whether bytes are text, and reads and writes its characters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quill::darwin {

/// Every byte is ASCII; such text is in every normalization form already.
bool IsASCII(std::string_view bytes) noexcept;

/// Well-formed by Unicode 15.0, table 3-7: neither overlong forms nor surrogates nor anything past U+10FFFF.
bool IsUTF8(std::string_view bytes) noexcept;

/// Reads the character at \p position, which must lie within \p bytes, and moves on past it. A byte that is not UTF-8
/// is a character of its own: its negative value.
int NextCharacter(std::string_view bytes, std::size_t& position) noexcept;

/// Writes what NextCharacter reads.
void AppendCharacter(std::string& text, int character);

}  // namespace quill::darwin
