#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSString.h"

using foundation::NSCharacterSet;
using foundation::NSString;
using foundation::RetainPtr;

namespace {

constexpr auto kLetters = NSCharacterSet::characterSetWithCharactersInString("abc");
constexpr const char* kNone = "(none)";

RetainPtr<NSString> Platform(std::string_view text) { return NSString::stringWithFileSystemBytes(text); }

std::string Text(const RetainPtr<NSString>& string) { return string ? std::string(string->view()) : kNone; }

std::string Encoded(std::string_view text, const NSCharacterSet& allowed) {
  return Text(Platform(text)->stringByAddingPercentEncodingWithAllowedCharacters(allowed));
}

std::string Decoded(std::string_view text) { return Text(Platform(text)->stringByRemovingPercentEncoding()); }

std::string Escape(unsigned byte) {
  char escape[4];
  std::snprintf(escape, sizeof escape, "%%%02X", byte);
  return escape;
}

std::string UTF8(char32_t character) {
  const auto tail = [character](unsigned shift) { return static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x80) return {static_cast<char>(character)};
  if (character < 0x800) return {static_cast<char>(0xC0 | (character >> 6)), tail(0)};
  if (character < 0x10000) return {static_cast<char>(0xE0 | (character >> 12)), tail(6), tail(0)};
  return {static_cast<char>(0xF0 | (character >> 18)), tail(12), tail(6), tail(0)};
}

}  // namespace

TEST(PercentEncoding, KeepsWhatTheSetAllowsAndBringsEverythingBack) {
  const auto complement = kLetters.invertedSet();
  for (unsigned byte = 1; byte < 0x80; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const bool isLetter = byte >= 'a' && byte <= 'c';
    EXPECT_EQ(isLetter ? text : Escape(byte), Encoded(text, kLetters));
    EXPECT_EQ(isLetter ? Escape(byte) : text, Encoded(text, complement));
    EXPECT_EQ(text, Decoded(Escape(byte)));
  }
  for (char32_t character = 0x80; character <= 0x10FFFF; character += character < 0x1000 ? 1 : 0x3F) {
    if (character >= 0xD800 && character < 0xE000) continue;
    const std::string text = UTF8(character);
    std::string escapes;
    for (const char byte : text) escapes += Escape(static_cast<unsigned char>(byte));
    ASSERT_EQ(escapes, Encoded(text, complement)) << "U+" << std::hex << static_cast<unsigned>(character);
    ASSERT_EQ(text, Decoded(escapes)) << "U+" << std::hex << static_cast<unsigned>(character);
  }
}

TEST(PercentEncoding, AllowsInAQueryWhatTheStandardAllows) {
  std::string ascii;
  for (char character = 0x20; character < 0x7F; ++character) ascii += character;
  EXPECT_EQ(
      "%20!%22%23$%25&'()*+,-./0123456789:;%3C=%3E?@ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_"
      "%60abcdefghijklmnopqrstuvwxyz%7B%7C%7D~",
      Encoded(ascii, NSCharacterSet::URLQueryAllowedCharacterSet()));
}

TEST(PercentEncoding, EncodesOnlyText) {
  for (const std::string_view bytes : {"\xFF", "a\xC3", "\xC0\xAF", "\xED\xA0\x80"}) {
    EXPECT_EQ(kNone, Encoded(bytes, kLetters));
    EXPECT_EQ(kNone, Decoded(bytes));
  }
}

TEST(PercentDecoding, GivesTextOrNothing) {
  const struct {
    std::string_view encoded;
    std::string_view text;
  } rows[] = {
      {"", ""},
      {"a+b", "a+b"},
      {"%41%c3%A9x", "A\xC3\xA9x"},
      {"\xC3%A9", "\xC3\xA9"},
      {"%2541", "%41"},
      {"%F4%8F%BF%BF", "\xF4\x8F\xBF\xBF"},
      // Malformed:
      {"%", kNone},
      {"a%", kNone},
      {"%4", kNone},
      {"%%41", kNone},
      {"%4g", kNone},
      {"% 41", kNone},
      {"%-1", kNone},
      // NUL, and what is not UTF-8:
      {"%00", kNone},
      {"%80", kNone},
      {"%C3", kNone},
      {"%C3%28", kNone},
      {"%C0%AF", kNone},
      {"%ED%A0%80", kNone},
      {"%F4%90%80%80", kNone},
  };
  for (const auto& [encoded, text] : rows) EXPECT_EQ(text, Decoded(encoded)) << encoded;
}
