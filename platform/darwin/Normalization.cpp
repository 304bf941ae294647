#include "platform/darwin/Normalization.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <vector>

namespace darwin {
namespace {

/// From this length on, text is put into canonical order before ICU sees it.
constexpr std::size_t kLongText = 1024;

void Require(UErrorCode error) {
  if (U_FAILURE(error)) throw std::bad_alloc();  // the data of both forms is compiled in: nothing else can fail
}

const icu::Normalizer2& ComposingNormalizer() {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* const normalizer = icu::Normalizer2::getNFCInstance(error);
  Require(error);
  return *normalizer;
}

const icu::Normalizer2& DecomposingNormalizer() {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* const normalizer = icu::Normalizer2::getNFDInstance(error);
  Require(error);
  return *normalizer;
}

/// Bytes that are not UTF-8 touch nothing in ICU's eyes either, and come through unchanged.
std::string Normalized(const icu::Normalizer2& normalizer, std::string_view text) {
  if (text.size() > std::numeric_limits<std::int32_t>::max()) throw std::length_error("text too long to normalize");
  const auto size = static_cast<std::int32_t>(text.size());
  std::string result;
  UErrorCode error = U_ZERO_ERROR;
  icu::StringByteSink<std::string> sink(&result, size);
  normalizer.normalizeUTF8(0, icu::StringPiece(text.data(), size), sink, nullptr, error);
  Require(error);
  return result;
}

/// Form D in time that grows with the length: ICU inserts each mark of a run at its place from the end of the run,
/// which takes the square of the run's length. Here a run is sorted when it is complete.
class LinearDecomposition {
 public:
  explicit LinearDecomposition(std::size_t size) { result.reserve(size + size / 2); }

  void Append(UChar32 character) {
    if (character < 0x80) return AppendDecomposed(character);
    if (!normalizer.getDecomposition(character, mapping)) return AppendDecomposed(character);
    for (std::int32_t i = 0; i < mapping.length(); i = mapping.moveIndex32(i, 1)) AppendDecomposed(mapping.char32At(i));
  }

  std::string Finish() {
    FlushRun();
    return std::move(result);
  }

 private:
  struct Mark {
    UChar32 character;
    std::uint8_t combiningClass;
  };

  void AppendDecomposed(UChar32 character) {
    const std::uint8_t combiningClass = character < 0x80 ? 0 : normalizer.getCombiningClass(character);
    if (combiningClass != 0) return run.push_back({character, combiningClass});
    FlushRun();
    AppendCharacter(result, character);
  }

  void FlushRun() {
    const auto byClass = [](Mark a, Mark b) { return a.combiningClass < b.combiningClass; };
    if (!std::is_sorted(run.begin(), run.end(), byClass)) SortRun();
    for (const Mark& mark : run) AppendCharacter(result, mark.character);
    run.clear();
  }

  /// A counting sort: stable, as the order of marks of one class has meaning.
  void SortRun() {
    std::array<std::size_t, 257> place{};
    for (const Mark& mark : run) ++place[mark.combiningClass + 1u];
    for (std::size_t i = 1; i < place.size(); ++i) place[i] += place[i - 1];
    sorted.resize(run.size());
    for (const Mark& mark : run) sorted[place[mark.combiningClass]++] = mark;
    run.swap(sorted);
  }

  const icu::Normalizer2& normalizer = DecomposingNormalizer();
  icu::UnicodeString mapping;
  std::vector<Mark> run;
  std::vector<Mark> sorted;
  std::string result;
};

std::string DecomposeLong(std::string_view text) {
  LinearDecomposition decomposition(text.size());
  for (std::size_t position = 0; position < text.size();) decomposition.Append(NextCharacter(text, position));
  return decomposition.Finish();
}

/// Every character is below U+0300, where the first one stands that Form C may change: no byte is 0xCC or more.
/// Bytes that are not UTF-8 stay as they are in any case.
bool EndsBelowCombiningMarks(std::string_view text) noexcept {
  std::uint64_t found = 0;
  while (text.size() >= sizeof found) {
    std::uint64_t word;
    std::memcpy(&word, text.data(), sizeof word);
    // In each byte: bits 7 and 6, and then bit 5, or 4, or both 3 and 2, each moved to the place of bit 7.
    found |= word & (word << 1) & ((word << 2) | (word << 3) | ((word << 4) & (word << 5)));
    text.remove_prefix(sizeof word);
  }
  if (found & 0x8080808080808080) return false;
  return std::none_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 0xCC; });
}

}  // namespace

std::string FormC(std::string_view text) {
  if (EndsBelowCombiningMarks(text)) return std::string(text);
  if (text.size() < kLongText) return Normalized(ComposingNormalizer(), text);
  return Normalized(ComposingNormalizer(), DecomposeLong(text));
}

std::string FormD(std::string_view text) {
  if (IsASCII(text)) return std::string(text);
  if (text.size() < kLongText) return Normalized(DecomposingNormalizer(), text);
  return DecomposeLong(text);
}

}  // namespace darwin
