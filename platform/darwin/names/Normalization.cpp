#include "platform/darwin/names/Normalization.h"

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

namespace quill::darwin {
namespace {

/// From this length on, text is put into canonical order before ICU sees it.
constexpr std::size_t kLongText = 1024;

void Require(UErrorCode error) {
  if (U_FAILURE(error)) throw std::bad_alloc();  // the data of both forms is compiled in: nothing else can fail
}

const icu::Normalizer2& Normalizer(const icu::Normalizer2* (*instance)(UErrorCode&)) {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* const normalizer = instance(error);
  Require(error);
  return *normalizer;
}

const icu::Normalizer2& ComposingNormalizer() {
  static const icu::Normalizer2& normalizer = Normalizer(icu::Normalizer2::getNFCInstance);
  return normalizer;
}

const icu::Normalizer2& DecomposingNormalizer() {
  static const icu::Normalizer2& normalizer = Normalizer(icu::Normalizer2::getNFDInstance);
  return normalizer;
}

/// For ICU, too, bytes that are not UTF-8 interact with nothing, so they come through unchanged.
void AppendNormalized(const icu::Normalizer2& normalizer, std::string_view text, std::string& result) {
  if (text.size() > std::numeric_limits<std::int32_t>::max()) throw std::length_error("text too long to normalize");
  const auto size = static_cast<std::int32_t>(text.size());
  UErrorCode error = U_ZERO_ERROR;
  icu::StringByteSink<std::string> sink(&result, size);
  normalizer.normalizeUTF8(0, icu::StringPiece(text.data(), size), sink, nullptr, error);
  Require(error);
}

/// Builds Form D in linear time. ICU inserts each mark of a run at its place, searching from the end of the run, which
/// is quadratic; here a run is sorted once it is complete.
class LinearDecomposition {
 public:
  explicit LinearDecomposition(std::size_t size) { result_.reserve(size + size / 2); }

  void Append(UChar32 character) {
    if (character < 0x80) return AppendDecomposed(character);
    if (!normalizer_.getDecomposition(character, mapping_)) return AppendDecomposed(character);
    for (std::int32_t i = 0; i < mapping_.length(); i = mapping_.moveIndex32(i, 1))
      AppendDecomposed(mapping_.char32At(i));
  }

  std::string Finish() {
    FlushRun();
    return std::move(result_);
  }

 private:
  struct Mark {
    UChar32 character;
    std::uint8_t combiningClass;
  };

  void AppendDecomposed(UChar32 character) {
    const std::uint8_t combiningClass = character < 0x80 ? 0 : normalizer_.getCombiningClass(character);
    if (combiningClass != 0) return run_.push_back({character, combiningClass});
    FlushRun();
    AppendCharacter(result_, character);
  }

  void FlushRun() {
    const auto byClass = [](Mark a, Mark b) { return a.combiningClass < b.combiningClass; };
    if (!std::is_sorted(run_.begin(), run_.end(), byClass)) SortRun();
    for (const Mark& mark : run_) AppendCharacter(result_, mark.character);
    run_.clear();
  }

  /// A counting sort, which is stable: the order of marks of one class has meaning.
  void SortRun() {
    std::array<std::size_t, 257> place{};
    for (const Mark& mark : run_) ++place[mark.combiningClass + 1u];
    for (std::size_t i = 1; i < place.size(); ++i) place[i] += place[i - 1];
    sorted_.resize(run_.size());
    for (const Mark& mark : run_) sorted_[place[mark.combiningClass]++] = mark;
    run_.swap(sorted_);
  }

  const icu::Normalizer2& normalizer_ = DecomposingNormalizer();
  icu::UnicodeString mapping_;
  std::vector<Mark> run_;
  std::vector<Mark> sorted_;
  std::string result_;
};

// Short text goes to ICU as it is: its quadratic work is small there, and its code is faster than this.
std::string DecomposeLong(std::string_view text) {
  LinearDecomposition decomposition(text.size());
  for (std::size_t position = 0; position < text.size();) decomposition.Append(NextCharacter(text, position));
  return decomposition.Finish();
}

bool IsASCII(char byte) noexcept { return static_cast<unsigned char>(byte) < 0x80; }

/// The first byte of U+0300 or of a later character.
bool MayBeginMark(char byte) noexcept { return static_cast<unsigned char>(byte) >= 0xCC; }

/// The position of the first character at or above U+0300, which is the first that Form C may change; else the end.
std::size_t FindMark(std::string_view text, std::size_t position) noexcept {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::uint64_t word;
  for (; text.size() - position >= sizeof word; position += sizeof word) {
    std::memcpy(&word, text.data() + position, sizeof word);
    if (!(word & kHighBits)) continue;
    // In each byte: bits 7 and 6, and then bit 5, or 4, or both 3 and 2, each moved to the place of bit 7.
    if (word & (word << 1) & ((word << 2) | (word << 3) | ((word << 4) & (word << 5))) & kHighBits) break;
  }
  while (position < text.size() && !MayBeginMark(text[position])) ++position;
  return position;
}

/// The composite of the mark at \p mark and the letter in front of it, if the letter is ASCII and the mark is a common
/// one and the only one, so that the two do not affect the text around them. Asking for this one composite is then
/// enough, and several times faster. Negative otherwise. \p next is moved past the mark.
int ComposeLonePair(std::string_view text, std::size_t mark, std::size_t& next) {
  const bool isUsual = text[mark] == '\xCC' || text[mark] == '\xCD';  // U+0300 to U+037F
  if (!isUsual || mark == 0 || !IsASCII(text[mark - 1])) return -1;
  next = mark;
  const int character = NextCharacter(text, next);
  if (character < 0 || (next < text.size() && MayBeginMark(text[next]))) return -1;
  return ComposingNormalizer().composePair(text[mark - 1], character);
}

/// Composes the text up to the first mark that does not form such a pair, without the character in front of that mark.
/// Returns the position up to which it has composed.
std::size_t ComposeLonePairs(std::string_view text, std::size_t firstMark, std::string& result) {
  std::size_t done = 0;
  std::size_t next = 0;
  std::size_t mark = firstMark;
  for (; mark < text.size(); mark = FindMark(text, next)) {
    const int composite = ComposeLonePair(text, mark, next);
    if (composite < 0) break;
    result.append(text, done, mark - 1 - done);
    AppendCharacter(result, composite);
    done = next;
  }
  std::size_t end = mark;
  if (mark < text.size() && end > done) --end;
  if (mark < text.size() && end > done && !IsASCII(text[end])) --end;  // it has two bytes
  result.append(text, done, end - done);
  return end;
}

std::string Compose(std::string_view text, std::size_t firstMark) {
  std::string result;
  if (text.size() >= kLongText) {
    AppendNormalized(ComposingNormalizer(), DecomposeLong(text), result);
    return result;
  }
  result.reserve(text.size());
  const std::size_t done = ComposeLonePairs(text, firstMark, result);
  if (done < text.size()) AppendNormalized(ComposingNormalizer(), text.substr(done), result);
  return result;
}

}  // namespace

std::string FormC(std::string_view text) {
  const std::size_t firstMark = FindMark(text, 0);
  if (firstMark == text.size()) return std::string(text);
  return Compose(text, firstMark);
}

std::string FormD(std::string_view text) {
  if (IsASCII(text)) return std::string(text);
  if (text.size() >= kLongText) return DecomposeLong(text);
  std::string result;
  AppendNormalized(DecomposingNormalizer(), text, result);
  return result;
}

}  // namespace quill::darwin
