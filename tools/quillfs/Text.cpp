#include "tools/quillfs/Text.h"

#include <wchar.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace {

struct Character {
  /// The code point, or the byte where the text is not UTF-8.
  char32_t value;
  std::size_t length;
  bool isText;
};

/// Well-formed by Unicode 15.0, table 3-7, or a byte that is no text.
Character NextCharacter(std::string_view bytes) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  const Character noText{lead, 1, false};
  const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || bytes.size() < length) return noText;

  char32_t value = lead & (0x7fU >> length);
  for (std::size_t index = 1; index < length; ++index) {
    if ((byte(index) & 0xc0) != 0x80) return noText;
    value = value << 6 | (byte(index) & 0x3fU);
  }
  const bool isOverlong = value < (length == 4 ? 0x10000U : length == 3 ? 0x800U : 0x80U);
  const bool isSurrogate = value >= 0xd800 && value <= 0xdfff;
  return isOverlong || isSurrogate || value > 0x10ffff ? noText : Character{value, length, true};
}

/// Calls \p visit with each character and its bytes.
template <typename Visit>
void ForEachCharacter(std::string_view bytes, Visit visit) {
  while (!bytes.empty()) {
    const Character character = NextCharacter(bytes);
    visit(character, bytes.substr(0, character.length));
    bytes.remove_prefix(character.length);
  }
}

bool MisleadsTerminal(char32_t value) {
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

std::string Escaped(const Character& character) {
  if (character.value == '\n') return "\\n";
  if (character.value == '\t') return "\\t";
  const auto number = static_cast<unsigned>(character.value);
  return character.isText && number >= 0x80 ? Formatted("\\u{%x}", number) : Formatted("\\x%02x", number);
}

std::string JsonEscaped(char32_t value) {
  if (value == '"') return "\\\"";
  if (value == '\\') return "\\\\";
  if (value >= 0x20 && value < 0x7f) return {static_cast<char>(value)};
  const auto number = static_cast<unsigned>(value);
  if (number < 0x10000) return Formatted("\\u%04x", number);
  const unsigned pair = number - 0x10000;
  return Formatted("\\u%04x\\u%04x", 0xd800 + (pair >> 10), 0xdc00 + (pair & 0x3ff));
}

}  // namespace

std::string Printable(std::string_view bytes) {
  std::string result;
  ForEachCharacter(bytes, [&result](const Character& character, std::string_view raw) {
    if (character.value == '\\') {
      result += "\\\\";
    } else if (!character.isText || MisleadsTerminal(character.value)) {
      result += Escaped(character);
    } else {
      result += raw;
    }
  });
  return result;
}

std::string JsonString(std::string_view bytes) {
  constexpr char32_t kByteSurrogates = 0xdc00;
  std::string result = "\"";
  ForEachCharacter(bytes, [&result](const Character& character, std::string_view) {
    result += JsonEscaped(character.isText ? character.value : kByteSurrogates + character.value);
  });
  return result + '"';
}

int DisplayWidth(std::string_view printable) {
  int width = 0;
  ForEachCharacter(printable, [&width](const Character& character, std::string_view) {
    const int columns = ::wcwidth(static_cast<wchar_t>(character.value));
    width += columns >= 0 ? columns : 1;
  });
  return width;
}

std::string DateText(double millisecondsSince1970) {
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
