#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSString.h"

using quill::foundation::NSCharacterSet;
using quill::foundation::NSString;
using quill::foundation::RetainPtr;

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
  EXPECT_EQ("%C3%A9%F4%8F%BF%BF", Encoded("\xC3\xA9\xF4\x8F\xBF\xBF", complement)) << "a set is of ASCII";
}

TEST(PercentEncoding, AllowsInAQueryWhatTheStandardAllows) {
  std::string ascii;
  for (char character = 0x20; character < 0x7F; ++character) ascii += character;
  EXPECT_EQ(
      "%20!%22%23$%25&'()*+,-./0123456789:;%3C=%3E?@ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_"
      "%60abcdefghijklmnopqrstuvwxyz%7B%7C%7D~",
      Encoded(ascii, NSCharacterSet::URLQueryAllowedCharacterSet()));
}

TEST(PercentDecoding, GivesTextOrNothing) {
  const std::pair<const char*, const char*> rows[] = {
      {"", ""},
      {"a+b", "a+b"},
      {"%41%c3%A9x", "A\xC3\xA9x"},
      {"\xC3%A9", "\xC3\xA9"},
      {"%2541", "%41"},
      {"%F4%8F%BF%BF", "\xF4\x8F\xBF\xBF"},
  };
  for (const auto& [encoded, text] : rows) EXPECT_EQ(text, Decoded(encoded)) << encoded;
  // Malformed, NUL, and what is not UTF-8.
  for (const char* encoded : {"%", "a%", "%4", "%%41", "%4g", "% 41", "%-1", "%00", "%80", "%C3", "%C3%28", "%C0%AF",
                              "%ED%A0%80", "%F4%90%80%80"})
    EXPECT_EQ(kNone, Decoded(encoded)) << encoded;
}
