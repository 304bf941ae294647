// Which items a move has copied, and in what state, so that only these are removed at their old place.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <tuple>

#include "platform/darwin/descriptors/ItemStatus.h"

namespace quill::darwin {

class CopiedItems {
 public:
  void Add(const ItemStatus& item) { items_.push_back(KeyOf(item)); }
  /// After the last Add, before the first question.
  void Sort() { std::sort(items_.begin(), items_.end()); }
  /// False for an item that came later and for a file that has changed since.
  bool Contains(const ItemStatus& item) const { return std::binary_search(items_.begin(), items_.end(), KeyOf(item)); }

 private:
  using Key = std::tuple<std::uint64_t, std::uint64_t, std::int64_t>;

  /// A directory changes while it is emptied. The status change time would tell more than the modification time, but
  /// changes when another link to the same file is removed.
  static Key KeyOf(const ItemStatus& item) {
    const std::int64_t time = item.modified.tv_sec * 1'000'000'000 + item.modified.tv_nsec;
    return {item.device, item.inode, item.IsDirectory() ? 0 : time};
  }

  std::deque<Key> items_;
};

}  // namespace quill::darwin
