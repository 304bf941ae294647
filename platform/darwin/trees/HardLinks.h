// Keeping the hard links within a tree while it is copied.
//
// The copy of every file that has several names gets one more, made of its identity, in a directory beside the copy:
// a later name of the same file is linked to that. The file system does the remembering, whatever the number of links.
#pragma once

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/TreeItem.h"
#include "platform/darwin/trees/StagingDirectory.h"

namespace quill::darwin {

class HardLinks {
 public:
  explicit HardLinks(const PrivateDirectory& directory) noexcept : container_(directory) {}

  /// Gives the copy made earlier the name \p name. 0, ENOENT when there is no earlier copy, or the errno.
  int LinkEarlier(const TreeItem& source, int directory, const char* name);
  /// Remembers the copy under \p name. 0 or the errno.
  int Remember(const TreeItem& source, int directory, const char* name);

  /// Where they are kept, in the container, to be removed with the copy.
  static constexpr char kDirectoryName[] = "links";

 private:
  const PrivateDirectory& container_;
  FileDescriptor kept_;
};

}  // namespace quill::darwin
