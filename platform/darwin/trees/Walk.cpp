// One loop and no recursion: the levels stand in a deque, so that depth costs memory and not stack. The last kWindow
// levels have their directories open; when one more is entered the highest of these is closed, and when the walk comes
// back to a closed one, it is reached through ".." of the level below.
#include "platform/darwin/trees/Walk.h"

#include <dirent.h>
#include <fcntl.h>

#include <cassert>

#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

// Directories that stay open. Most trees are less deep, and twice this many descriptors are easily had.
constexpr std::size_t kWindow = 16;

constexpr int kDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;

/// Opens the directory above, if it is still the one that it was.
Error OpenSame(int below, const ItemStatus& expected, FileDescriptor& directory) {
  if (const Error error = Open(below, "..", kDirectory, directory)) return error;
  ItemStatus found;
  if (const Error error = GetStatus(directory.get(), found)) return error;
  return found.IsSameAs(expected) ? Error() : Error::Replaced();
}

}  // namespace

TreeWalk::TreeWalk(TreeVisitor& visitor, TreeReport& report) : visitor_(visitor), report_(report) {
  assert(!report_.walk_ && "one walk at a time");
  report_.walk_ = this;
}

TreeWalk::~TreeWalk() { report_.walk_ = nullptr; }

void TreeWalk::Run(int parent, const char* name) {
  levels_.emplace_back().parent = parent;
  bool goOn = Visit({name, 0, DT_UNKNOWN});
  while (goOn && levels_.size() > 1) {
    const DirectoryReader::Entry* entry = levels_.back().reader->Next();
    goOn = entry ? Visit(*entry) : Leave();
  }
}

bool TreeWalk::Visit(const DirectoryReader::Entry& entry) {
  current_ = entry.name;
  currentDepth_ = levels_.size();
  const auto next = visitor_.Visit(levels_.back(), entry);
  if (next == TreeVisitor::Next::kGoInto) return Enter(entry.name);
  return next == TreeVisitor::Next::kGoOn;
}

Error TreeWalk::OpenBelow(const char* name, FileDescriptor& directory, ItemStatus& status) {
  const Error unopened = OpenIn(levels_.back().descriptor(), name, kDirectory, directory);
  // It was a directory when its entry was read: O_DIRECTORY and O_NOFOLLOW say that it is another item by now.
  if (unopened == ENOTDIR || unopened == ELOOP) return Error::Replaced();
  return unopened ? unopened : GetStatus(directory.get(), status);
}

bool TreeWalk::Enter(const char* name) {
  TreeLevel& in = levels_.back();
  ItemStatus status;
  FileDescriptor directory;
  if (const Error error = OpenBelow(name, directory, status)) {
    const auto next = visitor_.OpenFailed(in, name, error);
    if (next != TreeVisitor::Next::kGoInto) return next == TreeVisitor::Next::kGoOn;
    // The visitor has removed what was in the way, such as missing rights.
    const Error again = directory.IsOpen() ? Error() : OpenBelow(name, directory, status);
    if (!directory.IsOpen()) return Stop(again);
  }

  TreeLevel& entered = levels_.emplace_back();
  entered.name = name;
  entered.status = status;
  entered.reader.emplace(std::move(directory));
  const auto next = visitor_.Enter(in, entered);
  if (next != TreeVisitor::Next::kGoInto) levels_.pop_back();
  if (levels_.size() > firstOpen_ + kWindow) CloseHighest();
  return next != TreeVisitor::Next::kStop;
}

bool TreeWalk::Leave() {
  TreeLevel& directory = levels_.back();
  TreeLevel& in = levels_[levels_.size() - 2];
  current_ = directory.name.c_str();
  currentDepth_ = levels_.size() - 1;
  if (const Error error = OpenAbove()) return Stop(error);
  const auto next = visitor_.Leave(in, directory, directory.reader->error());
  if (next == TreeVisitor::Next::kStop) return false;
  if (next != TreeVisitor::Next::kReadAgain) {
    levels_.pop_back();
    return true;
  }
  ++directory.pass;
  const Error error = directory.reader->GoTo(0);
  return error ? Stop(error) : true;
}

bool TreeWalk::Stop(Error error) {
  visitor_.PathLost(error);
  return false;
}

Error TreeWalk::OpenIn(int directory, const char* name, int flags, FileDescriptor& opened, mode_t mode) {
  return WithDescriptor([&] { return Open(directory, name, flags, opened, mode); });
}

// The last two are in use.
bool TreeWalk::CloseHighest() {
  if (firstOpen_ + 2 >= levels_.size()) return false;
  TreeLevel& level = levels_[firstOpen_];
  // What cannot be recognised later stays open.
  if (level.counterpart.IsOpen() && GetStatus(level.counterpart.get(), level.counterpartStatus)) return false;
  level.position = level.reader->position();
  level.reader.reset();
  level.counterpart = FileDescriptor();
  ++firstOpen_;
  return true;
}

Error TreeWalk::OpenAbove() {
  TreeLevel& below = levels_.back();
  TreeLevel& above = levels_[levels_.size() - 2];
  if (above.reader || levels_.size() == 2) return {};
  FileDescriptor directory;
  if (const Error error = OpenSame(below.descriptor(), above.status, directory)) return error;
  if (below.counterpart.IsOpen()) {
    const int counterpart = below.counterpart.get();
    if (const Error error = OpenSame(counterpart, above.counterpartStatus, above.counterpart)) return error;
  }
  above.reader.emplace(std::move(directory));
  firstOpen_ = levels_.size() - 2;
  return above.reader->GoTo(above.position);
}

std::string TreeWalk::CurrentEntry() const {
  std::string path;
  if (currentDepth_ < 2) return path;  // the root has a path of its own
  for (std::size_t depth = 2; depth < currentDepth_; ++depth) path += levels_[depth].name + "/";
  return path + current_;
}

}  // namespace quill::darwin
