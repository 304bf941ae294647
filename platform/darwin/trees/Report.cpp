#include "platform/darwin/trees/Report.h"

#include <utility>

namespace quill::darwin {
namespace {

constexpr std::uint64_t kBytesBetweenReports = 4 << 20;

}  // namespace

bool TreeReport::Wrote(std::uint64_t bytes) {
  untold += bytes;
  return untold < kBytesBetweenReports || Tell(std::exchange(untold, 0), 0);
}

bool TreeReport::Tell(std::uint64_t bytes, std::uint64_t items) {
  if (!observer) return true;
  done.bytes += bytes + std::exchange(untold, 0);
  (removesSource ? done.itemsRemovedFromSource : done.items) += items;
  return observer->Advanced(done);
}

}  // namespace quill::darwin
