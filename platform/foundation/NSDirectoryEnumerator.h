// The direct children of a directory, in the file system's order, one at a time.
#pragma once

#include <memory>

#include "platform/foundation/NSString.h"

namespace quill::darwin {
class DirectoryReader;
}

namespace quill::foundation {

class NSDirectoryEnumerator final : public NSObject {
 public:
  /// Null when the directory cannot be read.
  static RetainPtr<NSDirectoryEnumerator> enumeratorAtPath(const NSString* path);

  /// The next name as the file system keeps it, never "." or ".."; valid until the next call. Null at the end and ever
  /// after. It does not descend.
  const char* nextObject();

  /// Whether the entry returned last is a directory now, following a link. The kernel is asked unless the listing has
  /// told that it cannot be one.
  bool lastIsDirectory();

 private:
  explicit NSDirectoryEnumerator(std::unique_ptr<darwin::DirectoryReader> open) noexcept;
  ~NSDirectoryEnumerator() override;

  std::unique_ptr<darwin::DirectoryReader> reader_;
  // The reader's, until it moves on.
  const char* lastName_ = nullptr;
  unsigned char lastType_ = 0;
};

}  // namespace quill::foundation
