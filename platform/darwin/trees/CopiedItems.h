// Which items a move has copied, and in what state, so that only these are removed at their old place.
#pragma once

#include <ctime>
#include <deque>

#include "platform/darwin/descriptors/ItemStatus.h"

namespace quill::darwin {

/// What has become of an item since it was copied.
enum class SourceState {
  kAsCopied,
  /// Its times cannot tell: its last change is so recent that a further one may have left the same ones, or another
  /// name of the file has come or gone. Its contents can.
  kPerhapsChanged,
  /// Or it came later.
  kChanged,
};

class CopiedItems {
 public:
  /// \p begin is a time by the clock of the source's file system, taken before the first item was asked for its status.
  /// Whatever was changed before that cannot change again without getting a later time.
  explicit CopiedItems(const std::timespec& begin) noexcept : begin_(begin) {}

  /// \p item as it was before its contents were read.
  void Add(const ItemStatus& item);
  /// After the last Add, before the first question.
  void Sort();
  SourceState StateOf(const ItemStatus& item) const;
  /// Whether any item may be kPerhapsChanged.
  bool mayNeedContents() const noexcept { return mayNeedContents_; }

  /// Our own rename of a file, or removal of one of its names, is no change: \p item is its status afterwards.
  void NoteOwnChange(const ItemStatus& item);

 private:
  struct Item {
    std::uint64_t device;
    std::uint64_t inode;
    std::uint64_t size;
    std::timespec modified;
    std::timespec changed;
    mode_t type;
    bool hasOtherLinks;
    bool isRecent;
  };

  static bool IsBefore(const Item& left, const Item& right) noexcept;
  static SourceState Compare(const Item& copied, const ItemStatus& now) noexcept;
  bool IsRecent(const ItemStatus& item) const noexcept;

  const std::timespec begin_;
  std::deque<Item> items_;
  bool mayNeedContents_ = false;
};

}  // namespace quill::darwin
