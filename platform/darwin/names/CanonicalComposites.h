// Which characters are equivalent to which sequences, and where decomposed text can be cut into segments that do not
// affect each other. All of it comes from the Unicode library, once, when it is first needed. Any thread.
#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace quill::darwin {

struct DecomposedCharacter {
  int character;
  /// Canonical_Combining_Class: marks of different classes may be in any order; 0 for characters that never move.
  int combiningClass;
};

/// A character and its full canonical decomposition, of one character (a singleton) or more.
struct CanonicalComposite {
  int character;
  std::vector<int> decomposition;
};

/// The characters of \p text in Form D. A byte that is not UTF-8 is its negative value.
std::vector<DecomposedCharacter> Decompose(std::string_view text);

/// Removes the first segment from the front of \p text. Nothing composes or changes places across the end of a segment.
std::span<const DecomposedCharacter> TakeSegment(std::span<const DecomposedCharacter>& text);

/// The composites whose decomposition begins with \p character, Hangul syllables excepted: see ComposeSyllable.
std::span<const CanonicalComposite> CompositesBeginningWith(int character);

/// The Hangul syllable that consists of \p front, a leading consonant or a syllable, and \p jamo; negative if there is
/// none.
int ComposeSyllable(int front, int jamo);

}  // namespace quill::darwin
