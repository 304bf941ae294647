// How names look on a terminal: a name may hold any bytes, and those that could move the cursor, change colours or hide
// other text are shown as escapes.
#include "tools/quillfs/Text.h"

#include <wchar.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "platform/darwin/names/UTF8.h"

namespace {

/// Calls \p visit with each character and its bytes. A byte that is not UTF-8 is its negative value.
template <typename Visit>
void ForEachCharacter(std::string_view bytes, Visit visit) {
  for (std::size_t position = 0; position < bytes.size();) {
    const std::size_t start = position;
    const int character = quill::darwin::NextCharacter(bytes, position);
    visit(character, bytes.substr(start, position - start));
  }
}

// Control characters move the cursor or set colours, and direction marks reorder what is shown: a name could pose as
// another, or as a message.
bool MisleadsTerminal(int value) {
  const bool isControl = value < 0x20 || (value >= 0x7f && value <= 0x9f);
  const bool turnsDirection = value == 0x061c || value == 0x200e || value == 0x200f ||
                              (value >= 0x202a && value <= 0x202e) || (value >= 0x2066 && value <= 0x2069);
  const bool breaksLine = value == 0x2028 || value == 0x2029;
  return isControl || turnsDirection || breaksLine;
}

template <typename... Values>
std::string Formatted(const char* format, Values... values) {
  std::array<char, 64> buffer;
  const int length = std::snprintf(buffer.data(), buffer.size(), format, values...);
  return length > 0 ? std::string(buffer.data(), static_cast<std::size_t>(length)) : std::string();
}

std::string Escaped(int character) {
  if (character == '\n') return "\\n";
  if (character == '\t') return "\\t";
  return character >= 0x80 ? Formatted("\\u{%x}", character) : Formatted("\\x%02x", std::abs(character));
}

std::string JsonEscaped(int value) {
  if (value == '"') return "\\\"";
  if (value == '\\') return "\\\\";
  // All else is escaped, so the line is ASCII and comes through every pipe.
  if (value >= 0x20 && value < 0x7f) return {static_cast<char>(value)};
  if (value < 0x10000) return Formatted("\\u%04x", value);
  const int pair = value - 0x10000;
  return Formatted("\\u%04x\\u%04x", 0xd800 + (pair >> 10), 0xdc00 + (pair & 0x3ff));
}

}  // namespace

std::string Printable(std::string_view bytes) {
  std::string result;
  ForEachCharacter(bytes, [&result](int character, std::string_view raw) {
    if (character == '\\') {
      result += "\\\\";
    } else if (character < 0 || MisleadsTerminal(character)) {
      result += Escaped(character);
    } else {
      result += raw;
    }
  });
  return result;
}

std::string JsonString(std::string_view bytes) {
  constexpr int kByteSurrogates = 0xdc00;
  std::string result = "\"";
  ForEachCharacter(bytes, [&result](int character, std::string_view) {
    result += JsonEscaped(character >= 0 ? character : kByteSurrogates - character);
  });
  return result + '"';
}

int DisplayWidth(std::string_view printable) {
  int width = 0;
  ForEachCharacter(printable, [&width](int character, std::string_view) {
    // -1 for what the locale cannot print; a column is the best guess.
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    width += columns >= 0 ? columns : 1;
  });
  return width;
}

std::string DateText(double millisecondsSince1970) {
  // Down, also before 1970, so that the fraction is never negative.
  const double seconds = std::floor(millisecondsSince1970 / 1000);
  const auto moment = static_cast<std::time_t>(seconds);
  std::tm local{};
  if (!::localtime_r(&moment, &local)) return Formatted("@%.3f", millisecondsSince1970 / 1000);

  std::array<char, 64> date, zone;
  if (std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &local) == 0) return {};
  if (std::strftime(zone.data(), zone.size(), "%z", &local) == 0) return {};
  const int fraction = static_cast<int>(millisecondsSince1970 - seconds * 1000);
  return date.data() + Formatted(".%03d ", fraction) + zone.data();
}

std::string SizeText(double bytes) {
  constexpr const char* kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB"};
  std::size_t unit = 0;
  for (; bytes >= 1024 && unit + 1 < std::size(kUnits); ++unit) bytes /= 1024;
  return Formatted(unit == 0 ? "%.0f %s" : "%.1f %s", bytes, kUnits[unit]);
}
