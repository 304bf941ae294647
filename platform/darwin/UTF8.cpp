#include "platform/darwin/UTF8.h"

#include <unicode/utf8.h>

#include <cstdint>
#include <cstring>

namespace darwin {
namespace {

/// Where the run of ASCII that begins at \p position ends, to within a word: what follows is judged byte by byte.
std::size_t SkipASCIIWords(std::string_view bytes, std::size_t position) noexcept {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::uint64_t word;
  for (; bytes.size() - position >= sizeof word; position += sizeof word) {
    std::memcpy(&word, bytes.data() + position, sizeof word);
    if (word & kHighBits) break;
  }
  return position;
}

}  // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // inside the macros, in GCC's eyes
int NextCharacter(std::string_view bytes, std::size_t& position) noexcept {
  UChar32 character;
  U8_NEXT(bytes.data(), position, bytes.size(), character);
  return character;
}

void AppendCharacter(std::string& text, int character) {
  char bytes[U8_MAX_LENGTH];
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, character);
  text.append(bytes, length);
}
#pragma GCC diagnostic pop

bool IsASCII(std::string_view bytes) noexcept {
  std::size_t position = SkipASCIIWords(bytes, 0);
  while (position < bytes.size() && U8_IS_SINGLE(bytes[position])) ++position;
  return position == bytes.size();
}

std::string_view UTF8Prefix(std::string_view bytes) noexcept {
  std::size_t position = SkipASCIIWords(bytes, 0);
  while (position < bytes.size()) {
    const std::size_t start = position;
    const UChar32 character = NextCharacter(bytes, position);
    if (character < 0) return bytes.substr(0, start);
    if (character < 0x80) position = SkipASCIIWords(bytes, position);
  }
  return bytes;
}

bool IsUTF8(std::string_view bytes) noexcept { return UTF8Prefix(bytes).size() == bytes.size(); }

}  // namespace darwin
