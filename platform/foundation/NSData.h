// Bytes on their way to a file. They are not copied: whoever makes the value keeps them alive while it is used.
#pragma once

#include <cstddef>

#include "platform/foundation/NSString.h"

namespace quill::foundation {

struct NSData {
  const void* bytes = nullptr;
  std::size_t length = 0;

  /// Creates the file, or replaces the contents of an existing one. False for nil and on any failure.
  bool writeToFile(const NSString* path) const;
};

}  // namespace quill::foundation
