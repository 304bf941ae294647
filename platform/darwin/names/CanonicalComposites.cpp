#include "platform/darwin/names/CanonicalComposites.h"

#include <unicode/normalizer2.h>
#include <unicode/uniset.h>

#include <algorithm>
#include <new>

#include "platform/darwin/names/Normalization.h"

namespace quill::darwin {
namespace {

// The 11,172 Hangul syllables follow a formula (Unicode, section 3.12). They are left out of the table and composed
// when they are needed.
constexpr int kFirstSyllable = 0xAC00;
constexpr int kLastSyllable = 0xD7A3;

const icu::Normalizer2& Normalizer() {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* const normalizer = icu::Normalizer2::getNFCInstance(error);
  if (U_FAILURE(error)) throw std::bad_alloc();  // its data is compiled in: nothing else can fail
  return *normalizer;
}

icu::UnicodeSet DecomposingCharacters() {
  UErrorCode error = U_ZERO_ERROR;
  icu::UnicodeSet characters;
  characters.applyIntPropertyValue(UCHAR_NFD_QUICK_CHECK, UNORM_NO, error);
  if (U_FAILURE(error)) throw std::bad_alloc();
  characters.remove(kFirstSyllable, kLastSyllable);
  return characters;
}

int FirstCharacter(const CanonicalComposite& composite) { return composite.decomposition.front(); }

class Table {
 public:
  Table() {
    const icu::UnicodeSet characters = DecomposingCharacters();
    for (int range = 0; range < characters.getRangeCount(); ++range) {
      for (int i = characters.getRangeStart(range); i <= characters.getRangeEnd(range); ++i) Add(i);
    }
    AddTrailingJamo();
    // Stable, so that composites of one first character stay in the order of their code points.
    std::stable_sort(composites_.begin(), composites_.end(),
                     [](const auto& a, const auto& b) { return FirstCharacter(a) < FirstCharacter(b); });
    std::sort(trailing_.begin(), trailing_.end());
  }

  std::span<const CanonicalComposite> BeginningWith(int character) const {
    const auto first = std::ranges::lower_bound(composites_, character, {}, FirstCharacter);
    const auto last = std::ranges::lower_bound(first, composites_.end(), character + 1, {}, FirstCharacter);
    return {first, last};
  }

  /// True if the character follows another one in some decomposition.
  bool IsTrailing(int character) const { return std::binary_search(trailing_.begin(), trailing_.end(), character); }

 private:
  void Add(int character) {
    icu::UnicodeString mapping;
    if (!Normalizer().getDecomposition(character, mapping)) return;
    CanonicalComposite composite{character, {}};
    for (int i = 0; i < mapping.length(); i = mapping.moveIndex32(i, 1))
      composite.decomposition.push_back(mapping.char32At(i));
    trailing_.insert(trailing_.end(), composite.decomposition.begin() + 1, composite.decomposition.end());
    composites_.push_back(std::move(composite));
  }

  void AddTrailingJamo() {
    // The block of the Jamo that compose. The extended ones in other blocks never do.
    for (int character = 0x1100; character <= 0x11FF; ++character) {
      const auto type = u_getIntPropertyValue(character, UCHAR_HANGUL_SYLLABLE_TYPE);
      if (type == U_HST_VOWEL_JAMO || type == U_HST_TRAILING_JAMO) trailing_.push_back(character);
    }
  }

  std::vector<CanonicalComposite> composites_;
  std::vector<int> trailing_;
};

const Table& Composites() {
  // Made when another spelling is first looked for, which programs with ASCII names hardly ever need.
  static const Table table;
  return table;
}

// A segment is what can be respelled on its own: nothing in it composes or changes places with anything outside. Some
// characters of class 0 compose with the one in front of them, so the class alone does not decide.
bool BeginsSegment(const DecomposedCharacter& character) {
  if (character.combiningClass != 0) return false;
  return character.character < 0x300 || !Composites().IsTrailing(character.character);
}

}  // namespace

std::vector<DecomposedCharacter> Decompose(std::string_view text) {
  const std::string decomposed = FormD(text);
  std::vector<DecomposedCharacter> characters;
  characters.reserve(decomposed.size());
  for (std::size_t position = 0; position < decomposed.size();) {
    const int character = NextCharacter(decomposed, position);
    // No character below U+0300 is a mark. A negative value, a byte that is not UTF-8, is none either.
    characters.push_back({character, character < 0x300 ? 0 : Normalizer().getCombiningClass(character)});
  }
  return characters;
}

std::span<const DecomposedCharacter> TakeSegment(std::span<const DecomposedCharacter>& text) {
  // The first character belongs to the segment even if it is a mark, at the start of a name.
  const auto end = std::find_if(text.begin() + 1, text.end(), BeginsSegment);
  const auto segment = text.first(static_cast<std::size_t>(end - text.begin()));
  text = text.subspan(segment.size());
  return segment;
}

std::span<const CanonicalComposite> CompositesBeginningWith(int character) {
  return Composites().BeginningWith(character);
}

int ComposeSyllable(int front, int jamo) {
  const int syllable = Normalizer().composePair(front, jamo);
  return syllable >= kFirstSyllable && syllable <= kLastSyllable ? syllable : -1;
}

}  // namespace quill::darwin
