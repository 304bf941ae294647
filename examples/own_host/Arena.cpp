#include "Arena.h"

#include <algorithm>
#include <mutex>
#include <new>

#include "host/Ravel.h"

namespace {

constexpr std::size_t kCapacity = 256 * 1024;
constexpr std::size_t kAlignment = alignof(std::max_align_t);

/// Cuts blocks from the front; what comes back is used again when everything has come back.
class Arena {
 public:
  void* Take(std::size_t size) {
    const std::scoped_lock lock(mutex);
    const std::size_t wanted = std::max(size, kAlignment) + kAlignment - 1;
    if (wanted < size || wanted > kCapacity - use.bytes) throw std::bad_alloc();
    void* const block = memory + use.bytes;
    use.bytes += wanted / kAlignment * kAlignment;
    use.mostBytes = std::max(use.mostBytes, use.bytes);
    ++use.blocks;
    return block;
  }

  void GiveBack(void* block) noexcept {
    if (!block) return;
    const std::scoped_lock lock(mutex);
    if (--use.blocks == 0) use.bytes = 0;
  }

  ArenaUse Use() {
    const std::scoped_lock lock(mutex);
    return use;
  }

 private:
  std::mutex mutex;
  ArenaUse use;
  alignas(std::max_align_t) std::byte memory[kCapacity];
};

Arena arena;

}  // namespace

ArenaUse CurrentArenaUse() { return arena.Use(); }

// These two take the place of the library's own: they are the whole of that unit, so a static library leaves its own
// out, and a shared one calls these.
namespace Ravel {

void* SystemNew(std::size_t size, FixedMallocOpts /*options*/) { return arena.Take(size); }

void SystemDelete(void* memory) noexcept { arena.GiveBack(memory); }

}  // namespace Ravel
