// What the user typed, as the commands want it. Text that is not wholly a number or a date is refused: half of a date
// would set another one.
#include "tools/quillfs/Arguments.h"

#include <time.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "tools/quillfs/Session.h"

namespace {

// Rejects dates such as the 30th of February, which mktime would turn into the 2nd of March.
bool IsInCalendar(const std::tm& moment) {
  return std::chrono::year_month_day(std::chrono::year(moment.tm_year + 1900),
                                     std::chrono::month(static_cast<unsigned>(moment.tm_mon + 1)),
                                     std::chrono::day(static_cast<unsigned>(moment.tm_mday)))
      .ok();
}

}  // namespace

QuillFileString Arguments::Path(std::size_t index) const { return PathOf(Text(index)); }

std::vector<QuillFileString> Arguments::Paths(bool orHere) const {
  std::vector<QuillFileString> paths;
  for (const std::string& operand : operands_) paths.push_back(PathOf(operand));
  if (paths.empty() && orHere) paths.push_back(PathOf("."));
  return paths;
}

const std::string* Arguments::Value(std::string_view option) const {
  const auto found = options_.find(option);
  return found != options_.end() ? &found->second : nullptr;
}

std::optional<long long> Arguments::Number(std::string_view option) const {
  const std::string* value = Value(option);
  return value ? ParseNumber(*value) : std::nullopt;
}

std::optional<long long> ParseNumber(std::string_view text) {
  long long number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  // The whole text, and nothing below 0: no option counts anything that could be negative.
  const bool isNumber = error == std::errc() && stop == text.data() + text.size() && number >= 0;
  return isNumber ? std::optional(number) : std::nullopt;
}

// Local time, as people write it. "@" and seconds since 1970 are the one form that means the same everywhere.
std::optional<double> ParseDate(const std::string& text) {
  if (text.starts_with('@')) {
    char* stop = nullptr;
    const double seconds = std::strtod(text.c_str() + 1, &stop);
    const bool isNumber = stop != text.c_str() + 1 && *stop == '\0' && std::isfinite(seconds);
    return isNumber ? std::optional(seconds * 1000) : std::nullopt;
  }
  for (const char* format : {"%Y-%m-%d", "%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S"}) {
    std::tm moment{};
    moment.tm_isdst = -1;  // let mktime find out whether summer time applies
    const char* stop = ::strptime(text.c_str(), format, &moment);
    if (!stop || *stop != '\0') continue;
    // Before mktime, which changes what it is given.
    if (!IsInCalendar(moment)) return std::nullopt;
    return static_cast<double>(std::mktime(&moment)) * 1000;
  }
  return std::nullopt;
}
