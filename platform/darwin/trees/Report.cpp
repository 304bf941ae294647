// Two listeners hear of a failure: the thread's TreeFailure, from which an operation learns its cause, and the observer
// that a program may have set. Only the first failure counts, as what comes later is mostly a consequence of it.
#include "platform/darwin/trees/Report.h"

#include <new>
#include <utility>

#include "platform/darwin/trees/TreeFailure.h"
#include "platform/darwin/trees/Walk.h"

namespace quill::darwin {
namespace {

// Reports in the middle of a large file: often enough to obey a wish to stop at once, too seldom to cost anything.
constexpr std::uint64_t kBytesBetweenReports = 4 << 20;

thread_local TreeFailure* currentFailure = nullptr;

}  // namespace

TreeReport::TreeReport(const char* path) noexcept
    : path_(path ? path : ""), observer_(TreeObserver::Current()), isForNobody_(false) {}

bool TreeReport::Wrote(std::uint64_t bytes) {
  unreported_ += bytes;
  return unreported_ < kBytesBetweenReports || Advance(std::exchange(unreported_, 0), 0);
}

bool TreeReport::Advance(std::uint64_t bytes, std::uint64_t items) {
  // Without an observer nobody could wish to stop.
  if (!observer_) return true;
  done_.bytes += bytes + std::exchange(unreported_, 0);
  (removesSource_ ? done_.itemsRemovedFromSource : done_.items) += items;
  return observer_->Advanced(done_);
}

std::string TreeReport::CurrentEntry() const {
  std::string entry = walk_ ? walk_->CurrentEntry() : std::string();
  return entry.empty() ? path_ : entry;
}

void TreeReport::Note(const std::string& entry, Error error) {
  if (TreeFailure* const failure = TreeFailure::Current()) failure->Note(entry, error);
  if (observer_) observer_->Failed(entry.c_str(), error.posix());
}

void TreeReport::Fail(Error error) {
  if (firstError_ || !error) return;
  firstError_ = error;
  if (!isForNobody_) Note(CurrentEntry(), error);
}

Error TreeReport::FailAsWhole(Error error) {
  if (firstError_ || !error) return firstError_;
  firstError_ = error;
  if (!isForNobody_) Note(path_, error);
  return error;
}

void TreeReport::NotKept(TreeMetadata what, Error error) {
  if (observer_) observer_->MetadataNotKept(CurrentEntry().c_str(), what, error.posix());
}

TreeFailure::TreeFailure() noexcept : outer_(std::exchange(currentFailure, this)) {}

TreeFailure::~TreeFailure() { currentFailure = outer_; }

TreeFailure* TreeFailure::Current() noexcept { return currentFailure; }

void TreeFailure::Note(const std::string& entry, Error error) noexcept {
  if (error_) return;
  error_ = error;
  try {
    entry_ = entry;
  } catch (const std::bad_alloc&) {
    // The reason alone is kept.
  }
}

}  // namespace quill::darwin
