// The canonically equivalent spellings of a name (UAX #15, section 1.1): composed, decomposed, composed in part, with
// its marks in another order, with singletons such as U+212B for U+00C5. Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quill::darwin {

struct EquivalentForms {
  enum class Extent { kNone, kFew, kMany };

  Extent extent = Extent::kNone;
  /// The other spellings, never the name itself: Form C first, then Form D, then the rest in byte order. If there are
  /// many, only Form C and Form D.
  std::vector<std::string> others;
};

/// More spellings than this, including the name's own, are many: trying them all is more work than reading most
/// directories.
inline constexpr std::size_t kFewSpellings = 128;

/// The work is bounded by the length of the name, whatever its characters.
EquivalentForms EquivalentFormsOf(std::string_view name);

/// True if the name has an equivalent besides itself. Names in most scripts, emoji and ASCII have none, except for
/// three ASCII characters.
bool HasOtherForm(std::string_view name);

}  // namespace quill::darwin
