// The memory of this host: one block, from which the layer's objects are cut.
#pragma once

#include <cstddef>

struct ArenaUse {
  /// Blocks that have been given out and not come back.
  std::size_t blocks = 0;
  std::size_t bytes = 0;
  /// The most that was in use at once.
  std::size_t mostBytes = 0;
};

ArenaUse CurrentArenaUse();
