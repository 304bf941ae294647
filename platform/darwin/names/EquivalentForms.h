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
  /// The other spellings, never the name itself: Form C first, then Form D, then the rest in byte order. Of many, Form
  /// C and Form D alone.
  std::vector<std::string> others;
};

/// More spellings than this, the name's own among them, are many: probing them all is then more work than reading most
/// directories.
inline constexpr std::size_t kFewSpellings = 128;

/// Work is bounded by the length of the name, whatever is in it.
EquivalentForms EquivalentFormsOf(std::string_view name);

/// The name has an equivalent besides itself: not for most scripts and emoji, nor for ASCII but for three characters.
bool HasOtherForm(std::string_view name);

}  // namespace quill::darwin
