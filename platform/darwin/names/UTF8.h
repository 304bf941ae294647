// Checks whether bytes are UTF-8, and reads and writes characters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quill::darwin {

/// True if every byte is ASCII. Such text is already in every normalization form.
bool IsASCII(std::string_view bytes) noexcept;

/// True if the text is well-formed by Unicode 15.0, table 3-7: no overlong forms, no surrogates, nothing above
/// U+10FFFF.
bool IsUTF8(std::string_view bytes) noexcept;

/// Reads the character at \p position, which must be inside \p bytes, and moves \p position past it. A byte that is not
/// UTF-8 is a separate character: its negative value.
int NextCharacter(std::string_view bytes, std::size_t& position) noexcept;

/// Appends a character as NextCharacter reads it.
void AppendCharacter(std::string& text, int character);

}  // namespace quill::darwin
