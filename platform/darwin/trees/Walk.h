// The one way through a tree, for removal and copy.
//
// The walk opens every directory by its name in the one above, never following a link, and never joins paths. It reads
// entries one by one and hands each to a visitor, which says whether to go into it. However deep the tree is, only the
// last few directories stay open: past that the highest one is closed, and its reading position remembered. On the way
// back it is opened again as ".." of the directory below, and accepted only when it is the very directory that it was,
// so that a directory which is moved away meanwhile leads nowhere. Memory grows with the depth alone.
#pragma once

#include <deque>
#include <optional>
#include <string>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/trees/Report.h"

namespace quill::darwin {

/// A directory that the walk is in.
struct TreeLevel {
  int descriptor() const { return reader ? reader->descriptor() : parent; }

  std::string name;
  ItemStatus status;
  /// Empty while it is closed.
  std::optional<DirectoryReader> reader;
  std::int64_t position = 0;
  /// The first reading from its beginning, or a later one.
  int pass = 1;
  /// What the visitor found in the first pass, and only in a later one.
  std::size_t earlyEntries = 0, lateEntries = 0;
  /// Why the visitor had to leave out an entry in this pass.
  Error missed;
  /// A directory that the visitor keeps beside it, its copy; closed and opened again in step with it.
  FileDescriptor counterpart;
  ItemStatus counterpartStatus;
  /// Of the directory that holds the tree, which stays the caller's.
  int parent = -1;
};

/// What is done on the way. \p in is the directory that holds the entry in question; it and the one below are open.
class TreeVisitor {
 public:
  enum class Next { kGoOn, kGoInto, kReadAgain, kStop };

  /// kGoInto for a directory that is to be walked.
  virtual Next Visit(TreeLevel& in, const DirectoryReader::Entry& entry) = 0;
  /// The directory could not be opened: Error::Replaced when it is none by now. Or it could not be asked what it is.
  /// kGoInto to try once more, and to do without its status if need be.
  virtual Next OpenFailed(TreeLevel& in, const char* name, Error error) = 0;
  /// It is open. kGoInto, or kGoOn to pass it by.
  virtual Next Enter(TreeLevel& in, TreeLevel& directory) = 0;
  /// It was read to its end, or until \p error. kReadAgain for another pass.
  virtual Next Leave(TreeLevel& in, TreeLevel& directory, Error error) = 0;
  /// The way back up is gone; the walk ends.
  virtual void PathLost(Error error) = 0;

 protected:
  ~TreeVisitor() = default;
};

class TreeWalk {
 public:
  /// Both must outlive the walk; \p report learns from it which entry is being visited.
  TreeWalk(TreeVisitor& visitor, TreeReport& report);
  TreeWalk(const TreeWalk&) = delete;
  TreeWalk& operator=(const TreeWalk&) = delete;
  ~TreeWalk();

  /// Visits \p name in \p parent and, if the visitor wants it, everything below.
  void Run(int parent, const char* name);

  /// Makes a call that needs a descriptor; when these are scarce, closes directories higher up and calls again.
  template <typename Call>
  Error WithDescriptor(Call call) {
    for (;;) {
      const Error error = call();
      if ((error != EMFILE && error != ENFILE) || !CloseHighest()) return error;
    }
  }

  /// Opens a name in a directory in this way.
  Error OpenIn(int directory, const char* name, int flags, FileDescriptor& opened, mode_t mode = 0);

  /// The directory that holds the tree.
  bool IsOutside(const TreeLevel& in) const { return &in == &levels_.front(); }
  /// The path, relative to the tree, of the entry that is being visited; empty for the root.
  std::string CurrentEntry() const;

 private:
  bool Visit(const DirectoryReader::Entry& entry);
  bool Enter(const char* name);
  Error OpenBelow(const char* name, FileDescriptor& directory, ItemStatus& status);
  bool Leave();
  bool Stop(Error error);
  bool CloseHighest();
  Error OpenAbove();

  TreeVisitor& visitor_;
  TreeReport& report_;
  /// The first is the parent of the tree.
  std::deque<TreeLevel> levels_;
  std::size_t firstOpen_ = 1;
  const char* current_ = "";
  std::size_t currentDepth_ = 0;
};

}  // namespace quill::darwin
