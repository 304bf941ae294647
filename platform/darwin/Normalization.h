// Unicode normalization of names (UAX #15). Bytes that are not UTF-8 stay as they are, each a character of its own that
// composes with nothing. Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>

namespace darwin {

/// Every byte is ASCII; such text is in every normalization form already.
bool IsASCII(std::string_view text) noexcept;

std::string FormC(std::string_view text);
std::string FormD(std::string_view text);

}  // namespace darwin
