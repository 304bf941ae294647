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

struct Mark {
  UChar32 character;
  std::uint8_t combiningClass;
};

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

/// An ASCII letter with a few common marks: nearly all that names have. Composing it here is several times faster than
/// ICU, which takes text apart first.
class LetterWithMarks {
 public:
  /// Reads the marks at \p position, and moves past them. False if there are other ones, or too many.
  bool Read(std::string_view text, std::size_t& position) {
    if (position == 0 || !IsASCII(text[position - 1])) return false;
    letter_ = static_cast<unsigned char>(text[position - 1]);
    while (position < text.size() && MayBeginMark(text[position])) {
      if (!Insert(NextCharacter(text, position))) return false;
    }
    return true;
  }

  void AppendComposed(std::string& result) {
    std::uint8_t blocked = 0;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count_; ++i) {
      const Mark mark = marks_[i];
      const int composite = mark.combiningClass == blocked ? -1 : normalizer_.composePair(letter_, mark.character);
      if (composite >= 0) {
        letter_ = composite;
      } else {
        marks_[kept++] = mark;
        blocked = mark.combiningClass;
      }
    }
    AppendCharacter(result, letter_);
    for (std::size_t i = 0; i < kept; ++i) AppendCharacter(result, marks_[i].character);
  }

 private:
  static constexpr std::size_t kMost = 4;

  /// Behind all of its own class and of lower ones.
  bool Insert(int character) {
    // From U+0340 to U+0345 are those that are equivalent to others.
    if (count_ == kMost || character < 0x300 || character > 0x36F || (character >= 0x340 && character <= 0x345)) {
      return false;
    }
    const std::uint8_t combiningClass = normalizer_.getCombiningClass(character);
    if (combiningClass == 0) return false;
    std::size_t place = count_++;
    for (; place > 0 && marks_[place - 1].combiningClass > combiningClass; --place) marks_[place] = marks_[place - 1];
    marks_[place] = {character, combiningClass};
    return true;
  }

  const icu::Normalizer2& normalizer_ = ComposingNormalizer();
  int letter_ = 0;
  std::array<Mark, kMost> marks_;
  std::size_t count_ = 0;
};

/// Composes the text up to the first mark that does not belong to such a letter, without the character in front of that
/// mark. Returns the position up to which it has composed.
std::size_t ComposeLetters(std::string_view text, std::size_t firstMark, std::string& result) {
  std::size_t done = 0;
  std::size_t mark = firstMark;
  while (mark < text.size()) {
    LetterWithMarks letter;
    std::size_t next = mark;
    if (!letter.Read(text, next)) break;
    result.append(text, done, mark - 1 - done);
    letter.AppendComposed(result);
    done = next;
    mark = FindMark(text, next);
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
  const std::size_t done = ComposeLetters(text, firstMark, result);
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
