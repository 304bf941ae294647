// What a thread remembers of the directories that it has read in search of a name, so that one reading serves all the
// names that are asked for while the directory stays as it is.
//
// Each answer is preceded by a question to the kernel: it holds if the path leads to the same directory, and the stamp
// of its last change is the same. Every change of a name sets that stamp, and no program can set it back. Two changes
// within one tick of the kernel's clock have the same stamp, though; so a directory is only remembered if it changed
// last in an earlier tick than the one in which its reading began. It is not remembered at all where stamps can not be
// trusted: on file systems that other machines or programs serve, and where the names change with the keys at hand.
//
// No descriptor stays open, and the memory is bounded. It belongs to the thread, since a search begins at any call that
// takes a path, to which no object of the caller reaches down. Threads share nothing, so there is nothing to lock.
#pragma once

#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <string_view>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/names/NameIndex.h"

namespace quill::darwin {

// A directory is named by a prefix (empty, or ending with a slash) relative to a descriptor or AT_FDCWD. What is given
// back is valid until the next call.
class DirectoryMemory {
 public:
  /// Null before it is needed for the first time.
  static DirectoryMemory* OfThread() noexcept;
  /// Makes it, if necessary. Null if the system can keep nothing more for a thread.
  static DirectoryMemory* OfThreadOrNew();

  struct Directory {
    /// None if it has only been read by a descriptor.
    std::optional<std::string> prefix;
    ItemStatus status;
    NameIndex names;
  };

  /// What was read by this prefix; null if nothing was. Asks nothing, so the directory may have changed since.
  Directory* Suppose(std::string_view prefix) noexcept;
  /// Asks whether its prefix leads to that directory as it was read. Forgets it if it has changed.
  bool Confirm(const Directory& supposed);
  /// The names of the directory as it is; null if it is not remembered. Asks only about a directory that may be.
  NameIndex* Recall(int directory, const std::string& prefix);
  /// Reads the directory, unless it is remembered. Null if it cannot be read, or must not be remembered.
  NameIndex* Read(int directory, const std::string& prefix);

  /// Counts a name that was found by trying one spelling after the other. True if the directory had better be read.
  bool ShouldReadAfterFinding(const std::string& prefix);

 private:
  /// Forgets the directory if it has changed.
  Directory* Unchanged(const ItemStatus& status);
  NameIndex* Keep(Directory&& read);

  /// The one that was used last comes first.
  std::list<Directory> directories_;
  /// Where names were found last, how many since it was read, and how many are worth a reading.
  std::string searched_;
  std::size_t found_ = 0;
  std::size_t worthReading_ = 0;
};

}  // namespace quill::darwin
