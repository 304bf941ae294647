#include "platform/darwin/names/EquivalentForms.h"

#include <gtest/gtest.h>
#include <unicode/caniter.h>

#include <algorithm>
#include <random>
#include <set>

#include "platform/darwin/names/Normalization.h"

namespace quill::darwin {
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
  const int characters[] = {'a',     'e',    'K',   ';',    '`',    'A',    0x301,  0x323,  0x302,   0x30A,
                            0x344,   0x1E69, 0xC5,  0x212B, 0x1100, 0x1161, 0x11A8, 0x11A7, 0xAC00,  0xAC01,
                            0x958,   0xBC6,  0xBBE, 0xBCA,  0x5D0,  0x5B7,  0xFB2E, 0x8C48, 0xF900,  0x1F600,
                            0x1D15E, 0x345,  0x3B1, 0x1FA7, 0xDDD,  0xDDF,  0xDCF,  0x1026, 0x110AB, 0x110BA};
  for (int round = 0; round < 1500 && !HasFailure(); ++round) {
    std::string name;
    for (auto length = 1 + random() % 5; length > 0; --length) {
      AppendCharacter(name, characters[random() % std::size(characters)]);
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

TEST(EquivalentForms, AreToldOfAnyBytesInLinearTime) {
  EXPECT_EQ(Extent::kNone, EquivalentFormsOf("caf\xE9.txt").extent);
  EXPECT_EQ(Extent::kFew, EquivalentFormsOf("caf\xE9\u00E9\xCC").extent);
  EXPECT_EQ(Extent::kFew, EquivalentFormsOf("\xE9\u0301\u0323").extent);
  std::string marks = "x";
  for (int i = 0; i < 200'000; ++i) marks += "\u0301\u0323";
  EXPECT_EQ(Extent::kMany, EquivalentFormsOf(marks).extent);
}

}  // namespace
}  // namespace quill::darwin
