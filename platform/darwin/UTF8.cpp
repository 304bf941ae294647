#include "platform/darwin/UTF8.h"

#include <unicode/utf8.h>

#include <cstdint>
#include <cstring>

namespace darwin {
namespace {

/// Where the run of ASCII that begins at \p position ends.
std::size_t SkipASCII(std::string_view bytes, std::size_t position) noexcept {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::uint64_t word;
  for (; bytes.size() - position >= sizeof word; position += sizeof word) {
    std::memcpy(&word, bytes.data() + position, sizeof word);
    if (word & kHighBits) break;
  }
  while (position < bytes.size() && U8_IS_SINGLE(bytes[position])) ++position;
  return position;
}

}  // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // inside the macros, in GCC's eyes
int NextCharacter(std::string_view bytes, std::size_t& position) noexcept {
  const std::size_t start = position;
  UChar32 character;
  U8_NEXT(bytes.data(), position, bytes.size(), character);
  if (character >= 0) return character;
  position = start + 1;
  return -static_cast<unsigned char>(bytes[start]);
}

void AppendCharacter(std::string& text, int character) {
  if (character < 0) return text.push_back(static_cast<char>(-character));
  char bytes[U8_MAX_LENGTH];
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, character);
  text.append(bytes, length);
}
#pragma GCC diagnostic pop

bool IsASCII(std::string_view bytes) noexcept { return SkipASCII(bytes, 0) == bytes.size(); }

bool IsUTF8(std::string_view bytes) noexcept {
  std::size_t position = SkipASCII(bytes, 0);
  while (position < bytes.size()) {
    if (NextCharacter(bytes, position) < 0) return false;
    position = SkipASCII(bytes, position);
  }
  return true;
}

}  // namespace darwin
