#include "platform/darwin/trees/Walk.h"

#include <dirent.h>
#include <fcntl.h>

#include "platform/darwin/descriptors/Retry.h"

namespace quill::darwin {
namespace {

// Directories that stay open. Most trees are less deep, and twice this many descriptors are easily had.
constexpr std::size_t kWindow = 16;

constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

FileDescriptor OpenAt(int directory, const char* name, int flags, mode_t mode) {
  return FileDescriptor(Retry([&] { return ::openat(directory, name, flags, mode); }));
}

int OpenSame(int below, const TreeItem& expected, FileDescriptor& directory) {
  directory = OpenAt(below, "..", kOpenDirectory, 0);
  if (!directory) return errno;
  TreeItem found;
  if (const int error = ReadItem(directory.get(), found)) return error;
  return found.IsSameAs(expected) ? 0 : ESTALE;
}

}  // namespace

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

bool TreeWalk::Enter(const char* name) {
  TreeLevel& in = levels_.back();
  TreeItem item;
  FileDescriptor directory = Open(in.descriptor(), name, kOpenDirectory);
  int error = directory ? ReadItem(directory.get(), item) : errno;
  if (error != 0) {
    const auto next = visitor_.Shut(in, name, error);
    if (next != TreeVisitor::Next::kGoInto) return next == TreeVisitor::Next::kGoOn;
    if (!directory) directory = Open(in.descriptor(), name, kOpenDirectory);
    if (!directory) return Lose(errno);
  }

  TreeLevel& entered = levels_.emplace_back();
  entered.name = name;
  entered.item = item;
  entered.reader.emplace(std::move(directory));
  const auto next = visitor_.Enter(in, entered);
  if (next != TreeVisitor::Next::kGoInto) levels_.pop_back();
  if (levels_.size() > firstOpen_ + kWindow) CloseOne();
  return next != TreeVisitor::Next::kStop;
}

bool TreeWalk::Leave() {
  TreeLevel& directory = levels_.back();
  TreeLevel& in = levels_[levels_.size() - 2];
  current_ = directory.name.c_str();
  currentDepth_ = levels_.size() - 1;
  if (const int error = OpenAbove()) return Lose(error);
  const auto next = visitor_.Leave(in, directory, directory.reader->error());
  if (next == TreeVisitor::Next::kStop) return false;
  if (next != TreeVisitor::Next::kReadAgain) {
    levels_.pop_back();
    return true;
  }
  ++directory.pass;
  const int error = directory.reader->Seek(0);
  return error == 0 || Lose(error);
}

bool TreeWalk::Lose(int error) {
  visitor_.Lost(error);
  return false;
}

FileDescriptor TreeWalk::Open(int directory, const char* name, int flags, mode_t mode) {
  for (;;) {
    FileDescriptor open = OpenAt(directory, name, flags, mode);
    if (open || !MakeRoom(errno)) return open;
  }
}

bool TreeWalk::MakeRoom(int error) {
  if (error != EMFILE && error != ENFILE) return false;
  const bool closed = CloseOne();
  errno = error;
  return closed;
}

// The last two are in use.
bool TreeWalk::CloseOne() {
  if (firstOpen_ + 2 >= levels_.size()) return false;
  TreeLevel& level = levels_[firstOpen_];
  if (level.counterpart && ReadItem(level.counterpart.get(), level.counterpartItem) != 0) return false;
  level.position = level.reader->position();
  level.reader.reset();
  level.counterpart = FileDescriptor();
  ++firstOpen_;
  return true;
}

int TreeWalk::OpenAbove() {
  TreeLevel& below = levels_.back();
  TreeLevel& above = levels_[levels_.size() - 2];
  if (above.reader || levels_.size() == 2) return 0;
  FileDescriptor directory;
  if (const int error = OpenSame(below.descriptor(), above.item, directory)) return error;
  if (below.counterpart) {
    if (const int error = OpenSame(below.counterpart.get(), above.counterpartItem, above.counterpart)) return error;
  }
  above.reader.emplace(std::move(directory));
  firstOpen_ = levels_.size() - 2;
  return above.reader->Seek(above.position);
}

std::string TreeWalk::CurrentEntry() const {
  std::string path;
  if (currentDepth_ < 2) return path;  // the root has a path of its own
  for (std::size_t depth = 2; depth < currentDepth_; ++depth) path += levels_[depth].name + "/";
  return path + current_;
}

}  // namespace quill::darwin
