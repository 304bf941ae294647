// The names in the directory that was last read to find one of them. A listing asks for each name that it delivered,
// and where names have many spellings each question would otherwise read the whole directory: the time would grow with
// the square of their number.
//
// A thread remembers one directory, by the path that led to it, and asks for its status at every use: what is
// remembered counts only as long as that path leads to the same directory and no entry has come, gone or been renamed
// there since. A directory whose last change is so recent that a further one could leave the same time is not
// remembered, nor one whose names take more than kMostRemembered bytes; both are read for each question. The memory is
// released when the thread ends, or with the next directory.
//
// It belongs to the thread, as nothing between a listing and the questions about its names lives as long as both.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "platform/darwin/descriptors/ItemStatus.h"

namespace quill::darwin {

inline constexpr std::size_t kMostRemembered = 16 << 20;

/// How old an answer may be.
enum class Freshness {
  /// Asked anew: one call.
  kOfNow,
  /// Of the same tick of the clock by which changes are stamped, a few milliseconds. Good enough for what changes
  /// nothing.
  kOfThisTick,
};

class RememberedDirectory {
 public:
  RememberedDirectory() noexcept = default;
  /// Begins a reading of \p directory, which is open and of which nothing has been read yet.
  RememberedDirectory(std::string_view path, int directory);

  /// The calling thread's; null when it remembers none.
  static RememberedDirectory* OfThisThread() noexcept;
  /// Makes a finished reading the calling thread's. Without memory nothing is remembered.
  static void Remember(RememberedDirectory&& read) noexcept;

  void Add(std::string_view name, std::string_view composed);
  /// After the last Add, when all names have been read.
  void Finish();

  /// Whether it was read by this path: its text, empty or ending in a slash.
  bool IsOf(std::string_view path) const noexcept { return isComplete_ && path == path_; }
  /// Whether it was, and a reading would still find the same.
  bool IsCurrent(std::string_view path, Freshness freshness) noexcept;
  /// The entry that is equivalent to \p name. ENOENT when there is none, or one with just these bytes.
  Error Find(std::string_view name, std::string& found) const;

  /// The last path that was found, and under which other one.
  void NoteFound(std::string_view asked, std::string_view found);
  /// Whether the last path found was \p asked and would be found again.
  bool WasFound(std::string_view asked, Freshness freshness, std::string& found);

 private:
  std::string_view FormCOf(std::uint32_t entry) const noexcept { return text_.c_str() + entry; }
  std::string_view NameOf(std::uint32_t entry) const noexcept {
    const std::string_view composed = FormCOf(entry);
    return composed.data() + composed.size() + 1;
  }

  std::string path_;
  ItemStatus status_;
  std::timespec lastChecked_{};
  /// Whether it may be remembered: not too recent, not too large.
  bool isEligible_ = false;
  bool isComplete_ = false;
  /// Of each entry its Form C and its name, each with a NUL at its end.
  std::string text_;
  /// Where each entry begins in the text, in the order of their Form C.
  std::vector<std::uint32_t> entries_;
  std::string lastAsked_;
  std::string lastFound_;
};

}  // namespace quill::darwin
