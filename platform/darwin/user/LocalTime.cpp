#include "platform/darwin/user/LocalTime.h"

#include <time.h>

#include <array>
#include <ctime>

namespace quill::darwin {

std::string LocalTimestamp() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  std::array<char, 32> text;
  // Fails only for a year that an int cannot hold.
  if (!::localtime_r(&now, &local)) return {};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local);
  return {text.data(), length};
}

}  // namespace quill::darwin
