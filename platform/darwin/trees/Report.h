// What an operation on a tree reports: to its observer, and the first cause of its failure to whoever keeps that.
#pragma once

#include <string>

#include "platform/darwin/descriptors/Error.h"
#include "platform/darwin/trees/TreeObserver.h"

namespace quill::darwin {

class TreeWalk;

class TreeReport {
 public:
  /// For this thread's observer and TreeFailure; nobody's costs nothing. \p path names the root of the tree.
  explicit TreeReport(const char* path) noexcept;
  /// For nobody: a clean-up whose failures change nothing.
  TreeReport() noexcept = default;

  /// False when the observer stops the operation.
  bool Finished(std::uint64_t items) { return Advance(0, items); }
  /// The same for data, reported every few megabytes.
  bool Wrote(std::uint64_t bytes);

  /// At the entry that is being visited; at the root outside a walk. Keeps the first; a success is none.
  void Fail(Error error);
  /// At the root. Answers the first failure.
  Error FailAsWhole(Error error);
  void NotKept(TreeMetadata what, Error error);

  /// The entry that is being visited, relative to the tree; the root's own path for the root.
  std::string CurrentEntry() const;

  /// From here on items are not copied any more but removed at their old place.
  void BeginRemovalOfSource() noexcept { removesSource_ = true; }

  Error error() const noexcept { return firstError_; }

 private:
  friend class TreeWalk;

  bool Advance(std::uint64_t bytes, std::uint64_t items);
  void Note(const std::string& entry, Error error);

  const char* path_ = "";
  TreeObserver* observer_ = nullptr;
  bool isForNobody_ = true;
  /// The walk that is under way; it registers itself.
  const TreeWalk* walk_ = nullptr;
  TreeProgress done_;
  std::uint64_t unreported_ = 0;
  Error firstError_;
  bool removesSource_ = false;
};

}  // namespace quill::darwin
