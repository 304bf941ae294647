#include "platform/darwin/names/Normalization.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

namespace quill::darwin {
namespace {

/// The lines of the Unicode character database's own test file; empty where it is not installed (Debian: unicode-data).
std::istringstream ConformanceData() {
  const std::string file = "/usr/share/unicode/NormalizationTest.txt";
  const std::string command = "cat " + file + " 2>/dev/null || bzip2 -dc " + file + ".bz2 2>/dev/null";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
  std::string text;
  char buffer[4096];
  for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0;) text.append(buffer, got);
  return std::istringstream(text);
}

std::string FromHexadecimal(const std::string& field) {
  std::string text;
  std::istringstream input(field);
  for (int character; input >> std::hex >> character;) AppendCharacter(text, character);
  return text;
}

void ExpectForms(const std::string& text, const std::string& composed, const std::string& decomposed) {
  EXPECT_EQ(composed, FormC(text)) << text;
  EXPECT_EQ(decomposed, FormD(text)) << text;
}

TEST(Normalization, ConformsToTheUnicodeTest) {
  std::istringstream data = ConformanceData();
  std::set<std::string> listed;
  std::string all, allComposed, allDecomposed;  // one after another, so long that long text is taken care of
  bool singleCharacters = false;
  for (std::string line; std::getline(data, line) && !HasFailure();) {
    if (line.starts_with("@Part")) singleCharacters = line.starts_with("@Part1");
    if (line.empty() || line[0] == '@' || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string columns[5];
    for (std::string& column : columns) {
      std::getline(fields, column, ';');
      column = FromHexadecimal(column);
    }
    for (std::size_t i = 0; i < 5; ++i) {
      ExpectForms(columns[i], columns[i < 3 ? 1 : 3], columns[i < 3 ? 2 : 4]);
      all += columns[i] + "\n";  // the line feed touches nothing
      allComposed += columns[i < 3 ? 1 : 3] + "\n";
      allDecomposed += columns[i < 3 ? 2 : 4] + "\n";
    }
    if (singleCharacters) listed.insert(columns[0]);
  }
  if (listed.empty()) GTEST_SKIP() << "the Unicode character database is not installed";
  EXPECT_TRUE(FormC(all) == allComposed && FormD(all) == allDecomposed);
  std::string unlisted;
  for (int character = 0; character <= 0x10FFFF; ++character) {
    if (character == 0xD800) character = 0xE000;
    std::string text;
    AppendCharacter(text, character);
    if (!listed.contains(text)) unlisted += text + "\n";
    if ((character & 0x7F) != 0x7F) continue;
    ExpectForms(unlisted, unlisted, unlisted);
    unlisted.clear();
  }
}

TEST(Normalization, KeepsBytesThatAreNotUTF8) {
  const struct {
    std::string text, composed, decomposed;
  } rows[] = {
      {"", "", ""},
      {"\xFF", "\xFF", "\xFF"},
      {"e\xFF\xCC\x81", "e\xFF\xCC\x81", "e\xFF\xCC\x81"},  // composes with nothing across the byte
      {"e\xCC\x81\xE2\x82", "\xC3\xA9\xE2\x82", "e\xCC\x81\xE2\x82"},
      {"\xC3\xA9\xCC", "\xC3\xA9\xCC", "e\xCC\x81\xCC"},
      {"\xC0\xAF\xE0\x80\xAF\xC3\xA9", "\xC0\xAF\xE0\x80\xAF\xC3\xA9", "\xC0\xAF\xE0\x80\xAF\x65\xCC\x81"},  // overlong
      {"\xED\xA0\x80\xED\xB0\x80", "\xED\xA0\x80\xED\xB0\x80", "\xED\xA0\x80\xED\xB0\x80"},  // surrogates
      {"\xF4\x90\x80\x80\xE2\x84\xAA", "\xF4\x90\x80\x80K", "\xF4\x90\x80\x80K"},
      {std::string("a\0\xE2\x84\xAB", 5), std::string("a\0\xC3\x85", 4), std::string("a\0\x41\xCC\x8A", 5)},
  };
  for (const auto& [text, composed, decomposed] : rows) ExpectForms(text, composed, decomposed);
}

TEST(Normalization, ComposesLettersWithTheirMarks) {
  const struct {
    std::string text, composed, decomposed;
  } rows[] = {
      {"xe\u0302\u0323y", "x\u1EC7y", "xe\u0323\u0302y"},  // in the other order
      {"e\u0302\u0302\u0323", "\u1EC7\u0302", "e\u0323\u0302\u0302"},
      {"q\u0301\u0302", "q\u0301\u0302", "q\u0301\u0302"},
      {"e\u030D\u0301", "e\u030D\u0301", "e\u030D\u0301"},  // the first is in the way of the second
      {"e\u0316\u0316\u0316\u0316\u0301", "\u00E9\u0316\u0316\u0316\u0316", "e\u0316\u0316\u0316\u0316\u0301"},
      {"e\u034F\u0301", "e\u034F\u0301", "e\u034F\u0301"},
      {"a\u0340u\u0344", "\u00E0\u01D8", "a\u0300u\u0308\u0301"},  // marks that stand for others
  };
  for (const auto& [text, composed, decomposed] : rows) ExpectForms(text, composed, decomposed);
}

std::string Repeated(std::string_view text, std::size_t count) {
  std::string result;
  while (count-- > 0) result += text;
  return result;
}

/// Seconds of processor time for the normalization of so many pairs of marks in the worst order; the best of three.
double SecondsForMarks(std::size_t pairs) {
  const std::string text = "e" + Repeated("\u0301\u0323", pairs);
  const std::string above = Repeated("\u0301", pairs);
  double best = 1e9;
  for (int i = 0; i < 3; ++i) {
    const std::clock_t before = std::clock();
    const std::string composed = FormC(text);
    const std::string decomposed = FormD(text);
    best = std::min(best, static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC);
    EXPECT_TRUE(composed == "\u1EB9" + Repeated("\u0323", pairs - 1) + above);
    EXPECT_TRUE(decomposed == "e" + Repeated("\u0323", pairs) + above);
  }
  return best;
}

TEST(Normalization, TakesLinearTimeForLongRunsOfMarks) {
  // 16 times the length is 16 times the work; it was 256 times.
  EXPECT_LT(SecondsForMarks(1 << 18), 80 * SecondsForMarks(1 << 14));
}

}  // namespace
}  // namespace quill::darwin
