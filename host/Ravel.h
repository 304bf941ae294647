// The host's memory manager, from which file objects, iterators and managers take their memory.
//
// The bodies are the host's. Both functions may be called from any thread at once.
#pragma once

#include <cstddef>

#include "host/Export.h"

namespace Ravel {

/// How the memory is to be had. The layer always passes kSystemDefault.
enum FixedMallocOpts : int {
  /// No wish.
  kNoOptions = 0,
  /// Memory for an object of the layer.
  kSystemDefault = 1,
};

/// Gives \p size bytes, aligned for any object without extended alignment. A size of 0 gives a pointer of its own too.
/// The result is never null; the only exception that may leave is std::bad_alloc.
/// The caller owns the memory and gives it back with SystemDelete.
QUILL_EXPORT void* SystemNew(std::size_t size, FixedMallocOpts options);

/// Takes back memory that SystemNew gave; null is accepted.
QUILL_EXPORT void SystemDelete(void* memory) noexcept;

}  // namespace Ravel
