// How a host watches and stops the work on a tree.
//
// The tree operations below Foundation have no argument for a watcher, so the watcher of a thread is set for a scope,
// much as a current progress object is: while a TreeObserverScope lives, the tree operations of its thread report to
// its observer. No observer, no cost.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/Export.h"

namespace quill::darwin {

/// What has been done since the operation began.
struct TreeProgress {
  /// Data written by a copy, in bytes.
  std::uint64_t bytes = 0;
  /// Items copied or removed; a move within a file system is one item.
  std::uint64_t items = 0;
  /// Items that a move to another file system has removed at their old place, all of it being at the new one by then.
  std::uint64_t itemsRemovedFromSource = 0;
};

/// A property of an item that the target could not hold.
enum class TreeMetadata { kOwner, kPermissions, kTimes, kExtendedAttributes, kHardLink };

/// Called on the thread of the operation, which waits for the answer. Names are the entry's path relative to the tree,
/// the tree's own path for its root, as bytes of the file system; valid during the call.
class QUILL_EXPORT TreeObserver {
 public:
  /// After every item and every 4 MiB of data, or 64 MiB where the kernel copies by itself. False stops the operation,
  /// which takes back what it can and fails with ECANCELED; a move that removes its source already leaves the rest of
  /// it there, and all of it at the new place.
  virtual bool Advanced(const TreeProgress& progress);
  /// The copy is good, but this could not be carried over (not supported or not permitted there).
  virtual void MetadataNotKept(const char* entry, TreeMetadata what, int error);
  /// The entry at which the operation failed, and why; called for the first cause.
  virtual void Failed(const char* entry, int error);

  /// This thread's observer; null when nobody watches.
  static TreeObserver* Current() noexcept;

 protected:
  ~TreeObserver() = default;
};

/// Makes \p observer this thread's while it lives; the one before returns afterwards.
class QUILL_EXPORT TreeObserverScope {
 public:
  /// Null for nobody.
  explicit TreeObserverScope(TreeObserver* observer) noexcept;
  TreeObserverScope(const TreeObserverScope&) = delete;
  TreeObserverScope& operator=(const TreeObserverScope&) = delete;
  ~TreeObserverScope();

 private:
  TreeObserver* before_;
};

}  // namespace quill::darwin
