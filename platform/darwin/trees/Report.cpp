#include "platform/darwin/trees/Report.h"

#include <utility>

namespace quill::darwin {
namespace {

constexpr std::uint64_t kBytesBetweenReports = 4 << 20;

}  // namespace

bool TreeReport::Wrote(std::uint64_t bytes) {
  untold_ += bytes;
  return untold_ < kBytesBetweenReports || Tell(std::exchange(untold_, 0), 0);
}

bool TreeReport::Tell(std::uint64_t bytes, std::uint64_t items) {
  if (!observer_) return true;
  done_.bytes += bytes + std::exchange(untold_, 0);
  (removesSource_ ? done_.itemsRemovedFromSource : done_.items) += items;
  return observer_->Advanced(done_);
}

}  // namespace quill::darwin
