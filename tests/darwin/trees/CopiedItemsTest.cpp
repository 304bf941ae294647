#include "platform/darwin/trees/CopiedItems.h"

#include <gtest/gtest.h>

namespace {

using quill::darwin::CopiedItems;
using quill::darwin::ItemStatus;
using quill::darwin::SourceState;

ItemStatus File(std::timespec modified, std::timespec changed, std::uint64_t size, std::uint32_t links) {
  ItemStatus file;
  file.mode = S_IFREG;
  file.modified = modified;
  file.changed = changed;
  file.size = size;
  file.links = links;
  return file;
}

// The move began at 1000 s and 500 ns.
TEST(CopiedItems, KnowsWhatItsTimesCanTell) {
  constexpr std::timespec kOld{10, 1}, kFarFuture{9'300'000'000, 1};
  const struct {
    const char* what;
    ItemStatus copied, now;
    SourceState state;
  } rows[] = {
      {"untouched", File(kOld, {999, 1}, 5, 1), File(kOld, {999, 1}, 5, 1), SourceState::kAsCopied},
      {"a date after 2262", File(kFarFuture, kOld, 5, 1), File(kFarFuture, kOld, 5, 1), SourceState::kAsCopied},
      {"longer", File(kOld, {999, 1}, 5, 1), File(kOld, {999, 1}, 6, 1), SourceState::kChanged},
      {"other date", File(kOld, {999, 1}, 5, 1), File({10, 2}, {999, 1}, 5, 1), SourceState::kChanged},
      {"date set back", File(kOld, {999, 1}, 5, 1), File(kOld, {1001, 1}, 5, 1), SourceState::kChanged},
      {"other link removed", File(kOld, {999, 1}, 5, 2), File(kOld, {1001, 1}, 5, 1), SourceState::kPerhapsChanged},
      {"just before", File(kOld, {1000, 499}, 5, 1), File(kOld, {1000, 499}, 5, 1), SourceState::kAsCopied},
      {"same tick", File(kOld, {1000, 500}, 5, 1), File(kOld, {1000, 500}, 5, 1), SourceState::kPerhapsChanged},
      {"whole seconds", File(kOld, {999, 0}, 5, 1), File(kOld, {999, 0}, 5, 1), SourceState::kPerhapsChanged},
      {"seconds ago", File(kOld, {998, 0}, 5, 1), File(kOld, {998, 0}, 5, 1), SourceState::kAsCopied},
  };
  for (const auto& row : rows) {
    CopiedItems items({1000, 500});
    items.Add(row.copied);
    items.Sort();
    EXPECT_EQ(row.state, items.StateOf(row.now)) << row.what;
    ItemStatus another = row.now;
    another.inode = 1;
    EXPECT_EQ(SourceState::kChanged, items.StateOf(another)) << row.what;
  }
}

}  // namespace
