// The host's memory manager, from which file objects, iterators and managers take their memory.
//
// The host supplies the bodies. Several threads may call both functions at once.
#pragma once

#include <cstddef>

#include "host/Export.h"

namespace Ravel {

/// How the memory is to be allocated. The layer always passes kSystemDefault.
enum FixedMallocOpts : int {
  /// No particular request.
  kNoOptions = 0,
  /// Memory for an object of the layer.
  kSystemDefault = 1,
};

/// Allocates \p size bytes, aligned for any object without extended alignment. A size of 0 also gives a distinct
/// pointer. The result is never null; the only exception that may be thrown is std::bad_alloc. The caller owns the
/// memory and gives it back with SystemDelete.
QUILL_EXPORT void* SystemNew(std::size_t size, FixedMallocOpts options);

/// Frees memory that SystemNew gave; null is accepted.
QUILL_EXPORT void SystemDelete(void* memory) noexcept;

}  // namespace Ravel
