#include "platform/darwin/names/UTF8.h"

#include <unicode/utf8.h>

#include <cstdint>
#include <cstring>

namespace quill::darwin {
namespace {

using Word = std::uint64_t;

bool IsASCIIWord(const char* bytes) noexcept {
  Word word;
  // Text may begin at any address; compilers make one load of this.
  std::memcpy(&word, bytes, sizeof word);
  return (word & 0x8080808080808080) == 0;
}

/// The end of the run of ASCII that begins at \p position.
std::size_t SkipASCII(std::string_view bytes, std::size_t position) noexcept {
  const std::size_t size = bytes.size();
  while (size - position >= sizeof(Word) && IsASCIIWord(bytes.data() + position)) position += sizeof(Word);
  // Check the incomplete last word together with the bytes in front of it.
  const bool endsInPartOfWord = size - position < sizeof(Word) && size >= sizeof(Word);
  if (endsInPartOfWord && IsASCIIWord(bytes.data() + size - sizeof(Word))) return size;
  while (position < size && U8_IS_SINGLE(bytes[position])) ++position;
  return position;
}

}  // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // GCC warns inside ICU's macros
int NextCharacter(std::string_view bytes, std::size_t& position) noexcept {
  const std::size_t start = position;
  UChar32 character;
  U8_NEXT(bytes.data(), position, bytes.size(), character);
  if (character >= 0) return character;
  // ICU skips a whole malformed sequence. One byte at a time keeps every byte of it, so names come back unchanged.
  position = start + 1;
  return -static_cast<unsigned char>(bytes[start]);
}

void AppendCharacter(std::string& text, int character) {
  // The other way round than NextCharacter, which makes bytes that are not UTF-8 negative.
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

}  // namespace quill::darwin
