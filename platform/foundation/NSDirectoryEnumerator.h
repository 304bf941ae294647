// The direct children of a directory, in the file system's order, one at a time.
#pragma once

#include <memory>

#include "platform/darwin/descriptors/Error.h"
#include "platform/foundation/NSError.h"

namespace quill::darwin {
class DirectoryReader;
}

namespace quill::foundation {

class NSDirectoryEnumerator final : public NSObject {
 public:
  /// Null when the directory cannot be read; \p reason, which may be null, gets the reason.
  static RetainPtr<NSDirectoryEnumerator> enumeratorAtPath(const NSString* path, RetainPtr<NSError>* reason);

  /// The next name with the bytes that the file system has, never "." or ".."; valid until the next call. Null at the
  /// end and from then on. Does not descend.
  const char* nextObject();

  /// Why the enumeration stopped early; no error at its end.
  darwin::Error error() const noexcept;

  /// True if the entry returned last is a directory now, or a link to one. Asks the kernel unless the listing has ruled
  /// it out.
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
