// "Did you mean": the known word nearest to a mistyped one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Null if no word is near enough.
const std::string* NearestWord(std::string_view typed, const std::vector<std::string>& words);
