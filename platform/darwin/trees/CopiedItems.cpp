// One entry for each item that was copied, found by device and inode in a sorted list: a tree is copied first and
// removed afterwards, so that nothing is looked for before everything is there.
#include "platform/darwin/trees/CopiedItems.h"

#include <algorithm>
#include <tuple>

namespace quill::darwin {
bool CopiedItems::IsBefore(const Item& left, const Item& right) noexcept {
  return std::tie(left.device, left.inode) < std::tie(right.device, right.inode);
}

bool CopiedItems::IsRecent(const ItemStatus& item) const noexcept {
  return item.IsFile() && MayChangeUnseen(item, begin_);  // what a link or a node is never changes
}

void CopiedItems::Add(const ItemStatus& item) {
  const bool isRecent = IsRecent(item);
  mayNeedContents_ |= isRecent || (item.IsFile() && item.links > 1);
  items_.push_back(
      {item.device, item.inode, item.size, item.modified, item.changed, item.mode & S_IFMT, item.links > 1, isRecent});
}

void CopiedItems::Sort() { std::sort(items_.begin(), items_.end(), IsBefore); }

// A directory changes while it is emptied. The time of modification can be set back, the time of the status change
// cannot.
SourceState CopiedItems::Compare(const Item& copied, const ItemStatus& now) noexcept {
  if (copied.type != (now.mode & S_IFMT)) return SourceState::kChanged;
  if (now.IsDirectory()) return SourceState::kAsCopied;
  if (copied.size != now.size || !IsSameTime(copied.modified, now.modified)) return SourceState::kChanged;
  const bool isTouched = !IsSameTime(copied.changed, now.changed);
  if (isTouched && !copied.hasOtherLinks) return SourceState::kChanged;
  const bool isCertain = !now.IsFile() || (!isTouched && !copied.isRecent);
  return isCertain ? SourceState::kAsCopied : SourceState::kPerhapsChanged;
}

SourceState CopiedItems::StateOf(const ItemStatus& item) const {
  const Item wanted{item.device, item.inode, {}, {}, {}, {}, {}, {}};
  SourceState state = SourceState::kChanged;
  const auto [first, last] = std::equal_range(items_.begin(), items_.end(), wanted, IsBefore);
  for (auto copied = first; copied != last; ++copied) state = std::min(state, Compare(*copied, item));
  return state;
}

void CopiedItems::NoteOwnChange(const ItemStatus& item) {
  const Item wanted{item.device, item.inode, {}, {}, {}, {}, {}, {}};
  const auto [first, last] = std::equal_range(items_.begin(), items_.end(), wanted, IsBefore);
  for (auto copied = first; copied != last; ++copied) copied->changed = item.changed;
}

}  // namespace quill::darwin
