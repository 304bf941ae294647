// Standard output, which may be a terminal, a pipe whose reader has gone, or a full disk. The first failure is kept and
// reported once, at the end.
#include "tools/quillfs/Output.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "tools/quillfs/Text.h"

namespace {

/// no-color.org: any text in the variable refuses colour.
bool MayColor() {
  const char* refused = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return !(refused && *refused) && !(terminal && std::string_view(terminal) == "dumb");
}

}  // namespace

Output::Output() : isTerminal_(::isatty(STDOUT_FILENO) == 1), hasColor_(isTerminal_ && MayColor()) {}

bool Output::Print(std::string_view bytes) {
  // After one failure nothing more is printed: output with a gap would look complete.
  if (failure_ != 0) return false;
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size()) return true;
  failure_ = errno;
  return false;
}

std::string Output::Shown(std::string_view name) const { return isTerminal_ ? Printable(name) : std::string(name); }

int Output::Finish() {
  // A full disk may show only now, when the buffer is written.
  if (std::fflush(stdout) != 0 && failure_ == 0) failure_ = errno;
  return failure_;
}

JsonLine& JsonLine::Text(std::string_view key, std::string_view value) { return Member(key, JsonString(value)); }

JsonLine& JsonLine::Number(std::string_view key, long long value) { return Member(key, std::to_string(value)); }

JsonLine& JsonLine::Number(std::string_view key, double value) {
  // JSON has no words for the others (RFC 8259, section 6).
  if (!std::isfinite(value)) return Nothing(key);
  // The largest double has 309 digits before the point.
  std::array<char, 400> digits;
  const int length = std::snprintf(digits.data(), digits.size(), value == std::floor(value) ? "%.0f" : "%.3f", value);
  return Member(key, {digits.data(), static_cast<std::size_t>(length)});
}

JsonLine& JsonLine::Flag(std::string_view key, bool value) { return Member(key, value ? "true" : "false"); }

JsonLine& JsonLine::Nothing(std::string_view key) { return Member(key, "null"); }

JsonLine& JsonLine::Member(std::string_view key, std::string_view value) {
  if (members_.size() > 1) members_ += ", ";
  members_.append(JsonString(key)).append(": ").append(value);
  return *this;
}
