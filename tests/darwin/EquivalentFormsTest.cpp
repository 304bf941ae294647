#include "platform/darwin/EquivalentForms.h"

#include <gtest/gtest.h>
#include <unicode/caniter.h>

#include <algorithm>
#include <random>
#include <set>

#include "platform/darwin/Normalization.h"

namespace darwin {
namespace {

using Extent = EquivalentForms::Extent;

/// Every spelling, as ICU finds them by permutation: bearable for short names only.
std::set<std::string> SpellingsByPermutation(const std::string& name) {
  UErrorCode error = U_ZERO_ERROR;
  icu::CanonicalIterator iterator(icu::UnicodeString::fromUTF8(name), error);
  std::set<std::string> spellings;
  for (auto spelling = iterator.next(); !spelling.isBogus(); spelling = iterator.next()) {
    std::string text;
    spellings.insert(spelling.toUTF8String(text));
  }
  return spellings;
}

TEST(EquivalentForms, AreThoseThatPermutationFinds) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const int kCharacters[] = {'a',     'e',    'K',   ';',    '`',    'A',    0x301,  0x323,  0x302,   0x30A,
                             0x344,   0x1E69, 0xC5,  0x212B, 0x1100, 0x1161, 0x11A8, 0x11A7, 0xAC00,  0xAC01,
                             0x958,   0xBC6,  0xBBE, 0xBCA,  0x5D0,  0x5B7,  0xFB2E, 0x8C48, 0xF900,  0x1F600,
                             0x1D15E, 0x345,  0x3B1, 0x1FA7, 0xDDD,  0xDDF,  0xDCF,  0x1026, 0x110AB, 0x110BA};
  for (int round = 0; round < 1500 && !HasFailure(); ++round) {
    std::string name;
    for (auto length = 1 + random() % 5; length > 0; --length) {
      AppendCharacter(name, kCharacters[random() % std::size(kCharacters)]);
    }
    std::set<std::string> expected = SpellingsByPermutation(name);
    const EquivalentForms forms = EquivalentFormsOf(name);
    EXPECT_EQ(expected.size() > 1, HasOtherForm(name)) << name;
    EXPECT_EQ(expected.size() > kFewSpellings, forms.extent == Extent::kMany) << name;
    if (expected.size() > kFewSpellings) continue;
    expected.erase(name);
    EXPECT_EQ(expected, std::set<std::string>(forms.others.begin(), forms.others.end())) << name;
  }
}

TEST(EquivalentForms, BeginWithFormCAndFormD) {
  using Names = std::vector<std::string>;
  EXPECT_EQ((Names{"\u1EC7", "e\u0323\u0302", "e\u0302\u0323", "\u1EB9\u0302"}),
            EquivalentFormsOf("\u00EA\u0323").others);
  EXPECT_EQ((Names{"A\u030A", "\u212B"}), EquivalentFormsOf("\u00C5").others);
  EXPECT_EQ((Names{"\u212A"}), EquivalentFormsOf("K").others);
  // Of many forms these two alone are told.
  const std::string syllables = "\uD55C\uD55C\uD55C\uD55C\uD55C";
  EXPECT_EQ((Names{FormD(syllables)}), EquivalentFormsOf(syllables).others);
}

TEST(EquivalentForms, HaveAnExtent) {
  struct Row {
    std::string name;
    Extent extent;
  };
  std::string marks;
  for (int i = 0; i < 60; ++i) marks += "\u0301\u0323\u0327";
  std::string many = "x";
  for (int i = 0; i < 200000; ++i) many += "\u0301\u0323";
  const Row rows[] = {
      {"", Extent::kNone},
      {"notes (1).txt", Extent::kNone},
      {"\u043C\u0438\u0440 \u05E9\u05DC\u05D5\u05DD \U0001F469\u200D\U0001F680", Extent::kNone},
      {"caf\xE9.txt", Extent::kNone},
      {"a\u0301\u0301", Extent::kFew},
      {"\u00F6\u00F6\u00F6\u00F6\u00F6\u00F6\u00F6", Extent::kFew},
      {"\u00F6\u00F6\u00F6\u00F6\u00F6\u00F6\u00F6\u00F6", Extent::kMany},
      {"caf\xE9\u00E9\xCC", Extent::kFew},
      {"\xE9\u0301\u0323", Extent::kFew},
      {marks, Extent::kMany},
      {many, Extent::kMany},
  };
  for (const Row& row : rows)
    EXPECT_EQ(static_cast<int>(row.extent), static_cast<int>(EquivalentFormsOf(row.name).extent))
        << row.name.substr(0, 60);
}

}  // namespace
}  // namespace darwin
