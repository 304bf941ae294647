// What an operation on a tree tells its observer, and the first cause of its failure.
#pragma once

#include <string>

#include "platform/darwin/trees/TreeObserver.h"

namespace quill::darwin {

class TreeReport {
 public:
  /// For this thread's observer; nobody's costs nothing.
  explicit TreeReport(TreeObserver* listener = TreeObserver::Current()) noexcept : observer_(listener) {}

  /// False when the observer stops the operation.
  bool Finished(std::uint64_t items) { return Tell(0, items); }
  /// The same for data, told every few megabytes.
  bool Wrote(std::uint64_t bytes);

  /// \p entry is called for the entry's path when somebody listens.
  template <typename Entry>
  void Fail(int error, Entry entry) {
    if (firstError_ != 0 || error == 0) return;
    firstError_ = error;
    if (observer_) observer_->Failed(std::string(entry()).c_str(), error);
  }
  template <typename Entry>
  void NotKept(TreeMetadata what, int error, Entry entry) {
    if (observer_) observer_->MetadataNotKept(std::string(entry()).c_str(), what, error);
  }
  /// Fail for the item that the operation was called for. Answers the first error.
  int FailAsWhole(const char* path, int error) {
    Fail(error, [path] { return path ? path : ""; });
    return firstError_;
  }

  /// From here on items are not copied any more but removed at their old place.
  void BeginRemovalOfSource() noexcept { removesSource_ = true; }

  /// 0 while nothing has failed.
  int error() const noexcept { return firstError_; }

 private:
  bool Tell(std::uint64_t bytes, std::uint64_t items);

  TreeObserver* observer_;
  TreeProgress done_;
  std::uint64_t untold_ = 0;
  int firstError_ = 0;
  bool removesSource_ = false;
};

}  // namespace quill::darwin
