// Keeping the hard links within a tree while it is copied.
//
// The copy of every file that has several names gets one more, made of its identity, in a directory beside the copy:
// a later name of the same file is linked to that. The file system does the remembering, whatever the number of links.
#pragma once

#include "platform/darwin/trees/StagingDirectory.h"

namespace quill::darwin {

class HardLinks {
 public:
  explicit HardLinks(const StagingDirectory& staging) noexcept : staging_(staging) {}

  /// Gives the copy made earlier the name \p name. ENOENT when there is no earlier copy.
  Error LinkEarlier(const ItemStatus& source, int directory, const char* name);
  /// Remembers the copy under \p name.
  Error Remember(const ItemStatus& source, int directory, const char* name);

  /// Where they are kept, in the staging directory, to be removed with the copy.
  static constexpr char kDirectoryName[] = "links";

 private:
  const StagingDirectory& staging_;
  FileDescriptor kept_;
};

}  // namespace quill::darwin
