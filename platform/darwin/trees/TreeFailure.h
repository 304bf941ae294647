// Where in a tree an operation failed.
#pragma once

#include <string>

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// Receives the first failure of the tree operations that this thread makes while it lives. Scopes nest.
class TreeFailure {
 public:
  TreeFailure() noexcept;
  TreeFailure(const TreeFailure&) = delete;
  TreeFailure& operator=(const TreeFailure&) = delete;
  ~TreeFailure();

  /// The innermost of this thread; null when nobody wants to know.
  static TreeFailure* Current() noexcept;

  /// Keeps the first; without memory, its reason alone.
  void Note(const std::string& entry, Error error) noexcept;

  /// The path relative to the tree; the tree's own path for its root.
  const std::string& entry() const noexcept { return entry_; }
  /// No error while nothing has failed.
  Error error() const noexcept { return error_; }

 private:
  TreeFailure* outer_;
  std::string entry_;
  Error error_;
};

}  // namespace quill::darwin
