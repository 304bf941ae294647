// Unicode normalization of names (UAX #15). Bytes that are not UTF-8 stay unchanged, each a separate character that
// composes with nothing. The time is linear in the length of the text, whatever its characters. Pure functions; any
// thread.
#pragma once

#include <string>
#include <string_view>

#include "platform/darwin/names/UTF8.h"

namespace quill::darwin {

std::string FormC(std::string_view text);
std::string FormD(std::string_view text);

}  // namespace quill::darwin
