#include "host/Ravel.h"

#include <cstdlib>
#include <new>

namespace Ravel {

// The options choose between kinds of memory that only a host with an allocator of its own has.
void* SystemNew(std::size_t size, FixedMallocOpts /*options*/) {
  void* memory = std::malloc(size != 0 ? size : 1);  // malloc(0) may answer null, which would read as a failure
  if (!memory) throw std::bad_alloc();
  return memory;
}

void SystemDelete(void* memory) noexcept { std::free(memory); }

}  // namespace Ravel
