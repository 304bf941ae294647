// A directory that is ours alone, in which something is made whole before it gets its name, or kept while it goes.
#pragma once

#include <string>

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/NewDirectory.h"

namespace quill::darwin {

class StagingDirectory {
 public:
  StagingDirectory() = default;
  StagingDirectory(const StagingDirectory&) = delete;
  StagingDirectory& operator=(const StagingDirectory&) = delete;
  /// Removes it unless something is in it.
  ~StagingDirectory();

  /// Makes it under a name that nobody can guess in \p parent, which must stay open.
  Error Make(int parent);

  bool IsOpen() const noexcept { return open_.IsOpen(); }
  int descriptor() const noexcept { return open_.get(); }
  /// Also a name for what is made in it.
  const char* name() const noexcept { return name_.c_str(); }
  /// As it was made. New items in it get the same owner; which group, depends on the directory's mode.
  const ItemStatus& status() const noexcept { return status_; }
  /// Whether this process makes directories without full rights for their owner, so that they must be given.
  bool lacksRights() const noexcept { return rightsMissing_; }

 private:
  Error Secure();

  FileDescriptor open_;
  std::string name_;
  ItemStatus status_;
  int parent_ = -1;
  bool rightsMissing_ = false;
};

}  // namespace quill::darwin
