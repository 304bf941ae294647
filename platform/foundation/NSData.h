// Bytes on their way to a file. They are not copied: the caller keeps them alive while the value is used.
#pragma once

#include <cstddef>

namespace quill::foundation {

struct NSData {
  const void* bytes = nullptr;
  std::size_t length = 0;
};

}  // namespace quill::foundation
