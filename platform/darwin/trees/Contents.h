// Copying what is in a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/trees/Report.h"

namespace quill::darwin {

/// For the files of one tree: what the file systems refused once is not asked for again.
///
/// The ladder: a clone, which shares the blocks; for more than one block, copy_file_range, which spares the data a way
/// through the program, or even to it from a server; else reading and writing. Each goes on where the one before
/// stopped.
class ContentsCopier {
 public:
  explicit ContentsCopier(TreeReport& report) noexcept : report_(report) {}

  /// Copies everything in the open file \p from, whatever size \p source claims, to the new empty file \p to. Holes
  /// stay holes, whether the file system shows where they are or not. ECANCELED when the observer stops it.
  Error Copy(int from, const ItemStatus& source, int to);

 private:
  struct Range {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    /// Shown as data, but for a part of it there are no blocks: the file system does not show its holes.
    bool hidesHoles = false;
  };

  bool CloneFile(int from, int to);
  Error CopyToEnd(int from, const ItemStatus& source, int to);
  Error CopyExtents(int from, const ItemStatus& source, int to);
  Error CopyExtent(int from, int to, Range range, std::uint64_t& reached);
  Error CopyInKernel(int from, int to, Range range, std::uint64_t& reached);
  std::byte* Buffer();

  /// Aligned to a page: the kernel copies to it and from it a good deal faster.
  struct alignas(4096) Block {
    std::byte bytes[256 * 1024];
  };

  TreeReport& report_;
  std::unique_ptr<Block> buffer_;
  bool mayClone_ = true;
  bool mayCopyInKernel_ = true;
};

/// Compares two open files from their beginnings.
Error HaveSameContents(int one, int other, bool& same);

}  // namespace quill::darwin
