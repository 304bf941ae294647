#include "platform/darwin/UTF8.h"

#include <unicode/utf8.h>

#include <cstddef>
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

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // inside the macro, in GCC's eyes
/// Reads one character and moves on; negative when the bytes there are ill-formed.
UChar32 NextCharacter(std::string_view bytes, std::size_t& position) noexcept {
  UChar32 character;
  U8_NEXT(bytes.data(), position, bytes.size(), character);
  return character;
}
#pragma GCC diagnostic pop

}  // namespace

bool IsUTF8(std::string_view bytes) noexcept {
  std::size_t position = SkipASCIIWords(bytes, 0);
  while (position < bytes.size()) {
    const UChar32 character = NextCharacter(bytes, position);
    if (character < 0) return false;
    if (character < 0x80) position = SkipASCIIWords(bytes, position);
  }
  return true;
}

}  // namespace darwin
