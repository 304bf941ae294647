#include "platform/darwin/names/EquivalentForms.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/darwin/names/CanonicalComposites.h"
#include "platform/darwin/names/Normalization.h"

namespace quill::darwin {
namespace {

/// The depth of the search for spellings. Real names have fewer characters in one segment.
constexpr std::size_t kLongestSegment = 32;

/// The ASCII characters that have an equivalent outside ASCII: U+212A, U+037E and U+1FEF.
constexpr std::string_view kAmbiguousASCII = "K;`";

/// Enumerates the spellings of a segment. Each step takes a character of the segment, or several as one composite. A
/// mark may be taken before marks of other classes that precede it; nothing else changes places. After any step the
/// rest can be taken in its given order, so every step leads to a spelling, and the work is bounded by the number of
/// spellings asked for.
class SegmentSpellings {
 public:
  /// Stops at one more than \p most, which shows that there are too many.
  SegmentSpellings(std::span<const DecomposedCharacter> characters, std::size_t most)
      : segment_(characters), limit_(most), untaken_(~0u >> (kLongestSegment - characters.size())) {
    Continue();
  }

  const std::vector<std::string>& Found() const noexcept { return found_; }

 private:
  bool IsComplete() const noexcept { return found_.size() > limit_; }

  void Continue() {
    if (untaken_ == 0) return found_.push_back(spelling_);
    for (std::size_t i = 0; i < segment_.size() && !IsComplete(); ++i) {
      if (IsUntaken(i) && MayComeNext(i)) TakeEachWay(i);
    }
  }

  bool IsUntaken(std::size_t index) const noexcept { return (untaken_ >> index & 1) != 0; }

  bool MayComeNext(std::size_t index) const noexcept {
    const int own = segment_[index].combiningClass;
    for (std::size_t i = 0; i < index; ++i) {
      const int other = segment_[i].combiningClass;
      if (IsUntaken(i) && (own == 0 || other == 0 || own == other)) return false;
    }
    return true;
  }

  void TakeEachWay(std::size_t index) {
    const int character = segment_[index].character;
    Take(character, std::span(&character, 1));
    for (const CanonicalComposite& composite : CompositesBeginningWith(character)) {
      // The composites of one letter are many; without this the limit would only be seen one level up.
      if (IsComplete()) return;
      Take(composite.character, composite.decomposition);
    }
    TakeSyllables(index);
  }

  void TakeSyllables(std::size_t index) {
    std::vector<int> jamo{segment_[index].character};
    // Two or three Jamo: a syllable without a final consonant is also the beginning of one with it.
    int syllable = jamo.front();
    for (std::size_t i = index + 1; i < segment_.size() && !IsComplete(); ++i) {
      jamo.push_back(segment_[i].character);
      syllable = ComposeSyllable(syllable, jamo.back());
      if (syllable < 0) return;
      Take(syllable, jamo);
    }
  }

  /// Continues with \p character, if the characters that it consists of can be taken.
  void Take(int character, std::span<const int> parts) {
    const std::uint32_t before = untaken_;
    if (std::all_of(parts.begin(), parts.end(), [this](int part) { return TakePart(part); })) {
      const std::size_t size = spelling_.size();
      AppendCharacter(spelling_, character);
      Continue();
      spelling_.resize(size);
    }
    untaken_ = before;
  }

  bool TakePart(int character) {
    for (std::size_t i = 0; i < segment_.size(); ++i) {
      if (!IsUntaken(i) || segment_[i].character != character) continue;
      if (!MayComeNext(i)) return false;
      untaken_ &= ~(std::uint32_t{1} << i);
      return true;
    }
    return false;
  }

  const std::span<const DecomposedCharacter> segment_;
  const std::size_t limit_;
  std::uint32_t untaken_;  // a bit for each character of the segment
  std::string spelling_;
  std::vector<std::string> found_;
};

/// Follows each spelling by each of the choices.
void Append(const std::vector<std::string>& choices, std::vector<std::string>& spellings) {
  const std::size_t count = spellings.size();
  for (std::size_t choice = 1; choice < choices.size(); ++choice) {
    for (std::size_t i = 0; i < count; ++i) spellings.push_back(spellings[i] + choices[choice]);
  }
  for (std::size_t i = 0; i < count; ++i) spellings[i] += choices.front();
}

/// True if the segment is one character without equivalents, as nearly all segments are.
bool HasOneSpelling(std::span<const DecomposedCharacter> segment) {
  return segment.size() == 1 && CompositesBeginningWith(segment.front().character).empty();
}

/// Every spelling of \p name; nullopt when there are more than kFewSpellings.
std::optional<std::vector<std::string>> FewSpellings(std::string_view name) {
  const std::vector<DecomposedCharacter> characters = Decompose(name);
  std::vector<std::string> spellings(1);
  for (std::span<const DecomposedCharacter> rest = characters; !rest.empty();) {
    const auto segment = TakeSegment(rest);
    if (segment.size() > kLongestSegment) return std::nullopt;
    if (HasOneSpelling(segment)) {
      for (std::string& spelling : spellings) AppendCharacter(spelling, segment.front().character);
      continue;
    }
    // What is left of the limit by the segments before; the product is the number of all spellings.
    const SegmentSpellings choices(segment, kFewSpellings / spellings.size());
    if (choices.Found().size() * spellings.size() > kFewSpellings) return std::nullopt;
    Append(choices.Found(), spellings);
  }
  return spellings;
}

void AddIfNew(std::vector<std::string>& spellings, std::string_view name, std::string spelling) {
  if (spelling == name || std::find(spellings.begin(), spellings.end(), spelling) != spellings.end()) return;
  spellings.push_back(std::move(spelling));
}

}  // namespace

bool HasOtherForm(std::string_view name) {
  if (IsASCII(name)) return name.find_first_of(kAmbiguousASCII) != name.npos;
  const std::vector<DecomposedCharacter> characters = Decompose(name);
  for (std::span<const DecomposedCharacter> rest = characters; !rest.empty();) {
    const auto segment = TakeSegment(rest);
    if (HasOneSpelling(segment)) continue;
    if (segment.size() > kLongestSegment || SegmentSpellings(segment, 1).Found().size() > 1) return true;
  }
  return false;
}

EquivalentForms EquivalentFormsOf(std::string_view name) {
  EquivalentForms forms;
  if (!HasOtherForm(name)) return forms;
  AddIfNew(forms.others, name, FormC(name));
  AddIfNew(forms.others, name, FormD(name));
  auto spellings = FewSpellings(name);
  // Form C and Form D have been added already: they are what is on disks, so they are tried first, and alone when there
  // are too many.
  forms.extent = spellings ? EquivalentForms::Extent::kFew : EquivalentForms::Extent::kMany;
  if (!spellings) return forms;
  std::sort(spellings->begin(), spellings->end());
  for (std::string& spelling : *spellings) AddIfNew(forms.others, name, std::move(spelling));
  return forms;
}

}  // namespace quill::darwin
