// A directory that is ours alone, in which something is made whole before it gets its name, or kept while it goes.
#pragma once

#include <string>

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/TreeItem.h"

namespace quill::darwin {

class PrivateDirectory {
 public:
  PrivateDirectory() = default;
  PrivateDirectory(const PrivateDirectory&) = delete;
  PrivateDirectory& operator=(const PrivateDirectory&) = delete;
  /// Removes it unless something is in it.
  ~PrivateDirectory();

  /// Makes it under a name that nobody can guess in \p directory, which must stay open. 0 or the errno.
  int Make(int directory);

  explicit operator bool() const noexcept { return bool(open_); }
  int descriptor() const noexcept { return open_.get(); }
  /// Also a name for what is made in it.
  const char* name() const noexcept { return ownName_.c_str(); }
  /// As it is now; new items in it get the same owner and group.
  const TreeItem& item() const noexcept { return status_; }
  /// Whether this process makes directories without full rights for their owner, so that they must be given.
  bool lacksRights() const noexcept { return rightsMissing_; }

 private:
  int Secure();

  FileDescriptor open_;
  std::string ownName_;
  TreeItem status_;
  int parent_ = -1;
  bool rightsMissing_ = false;
};

/// A hidden name that nobody can guess. 0 or the errno.
int ChooseName(std::string& name);

/// A new directory with mode 0700, as far as the umask lets, open for reading. Empty with errno on failure, nothing
/// left behind.
FileDescriptor MakeDirectoryAt(int directory, const char* name);

}  // namespace quill::darwin
