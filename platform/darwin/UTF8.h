// Judges whether bytes are text.
#pragma once

#include <string_view>

namespace darwin {

/// Well-formed by Unicode 15.0, table 3-7: neither overlong forms nor surrogates nor anything past U+10FFFF.
bool IsUTF8(std::string_view bytes) noexcept;

}  // namespace darwin
