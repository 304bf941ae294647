// Four ways to copy the bytes of a file, the cheapest that both file systems allow: share the blocks (a clone), let the
// kernel copy extent by extent, let it copy to the end, read and write. A way that is refused for all files is not
// tried again in the same copy. Reading goes on to the end, whatever size the file claims: others may append meanwhile,
// and files of /proc claim to be empty.
#include "platform/darwin/trees/Contents.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

constexpr std::uint64_t kLongestKernelCopy = 64 << 20;  // between two reports

/// Compares the bytes with themselves, moved by one: much faster than a loop.
bool IsZeros(const std::byte* data, std::size_t size) {
  return *data == std::byte{0} && std::memcmp(data, data + 1, size - 1) == 0;
}

/// Leaves out blocks of zeros, which become holes.
Error WriteSparsely(int to, const std::byte* data, std::size_t size, std::uint64_t position) {
  constexpr std::size_t kBlock = 16 * 1024;
  for (std::size_t at = 0; at < size; at += kBlock) {
    const std::size_t length = std::min(kBlock, size - at);
    if (IsZeros(data + at, length)) continue;
    if (const Error error = WriteAllAt(to, data + at, length, position + at)) return error;
  }
  return {};
}

/// By these file systems, or by this kernel.
bool IsRefusedForAll(Error error) {
  return error == EOPNOTSUPP || error == EXDEV || error == ENOTTY || error == ENOSYS;
}

Error SeekTo(int file, std::uint64_t position) { return Seek(file, static_cast<std::int64_t>(position), SEEK_SET); }

Error TruncateTo(int file, std::uint64_t size) { return Truncate(file, static_cast<std::int64_t>(size)); }

/// Where the next data begins and ends. ENXIO when there is only a hole up to the end.
Error FindExtent(int file, std::uint64_t position, std::uint64_t& begin, std::uint64_t& end) {
  std::int64_t data = 0, hole = 0;
  if (const Error error = Seek(file, static_cast<std::int64_t>(position), SEEK_DATA, data)) return error;
  begin = static_cast<std::uint64_t>(data);
  if (const Error error = Seek(file, data, SEEK_HOLE, hole)) return error == ENXIO ? EIO : error;
  end = static_cast<std::uint64_t>(hole);
  return {};
}

}  // namespace

Error ContentsCopier::Copy(int from, const ItemStatus& source, int to) {
  if (source.size > 0 && mayClone_ && CloneFile(from, to)) return report_.Wrote(source.size) ? 0 : ECANCELED;
  const bool hasHoles = source.blocks * 512 < source.size;
  return hasHoles ? CopyExtents(from, source, to) : CopyToEnd(from, source, to);
}

bool ContentsCopier::CloneFile(int from, int to) {
  const Error error = Clone(from, to);
  // Other errors concern this file only; a serious one comes back when we read and write.
  if (IsRefusedForAll(error)) mayClone_ = false;
  return !error;
}

/// Reads without positions, so that it suits files that have none.
Error ContentsCopier::CopyToEnd(int from, const ItemStatus& source, int to) {
  std::uint64_t total = 0;
  if (source.size > sizeof(Block) && mayCopyInKernel_) {
    if (const Error error = CopyInKernel(from, to, {0, source.size}, total)) return error;
    if (const Error error = SeekTo(from, total)) return error;
    if (const Error error = SeekTo(to, total)) return error;
  }
  for (std::size_t size = 0;;) {
    if (const Error error = Read(from, Buffer(), sizeof(Block), size)) return error;
    if (size == 0) return {};
    if (const Error error = WriteAll(to, Buffer(), size)) return error;
    if (!report_.Wrote(size)) return ECANCELED;
    total += size;
    // The file ended at its stated size; skip the read that would return 0. (/proc and /sys misstate sizes.)
    if (total == source.size && size < sizeof(Block)) return {};
  }
}

Error ContentsCopier::CopyExtents(int from, const ItemStatus& source, int to) {
  std::uint64_t position = 0;
  while (position < source.size) {
    Range extent;
    const Error error = FindExtent(from, position, extent.begin, extent.end);
    if (error == ENXIO) break;
    if (error == EINVAL && position == 0) {
      // A file system that knows nothing about holes.
      if (const Error failed = SeekTo(from, 0)) return failed;
      return CopyToEnd(from, source, to);
    }
    if (error) return error;
    extent.end = std::min(extent.end, source.size);
    extent.hidesHoles = extent.begin == 0 && extent.end == source.size;  // more bytes than its blocks hold
    if (const Error failed = CopyExtent(from, to, extent, position)) return failed;
    if (position < extent.end) return TruncateTo(to, position);  // it ended before the size that it claims
  }
  return TruncateTo(to, source.size);
}

Error ContentsCopier::CopyExtent(int from, int to, Range range, std::uint64_t& reached) {
  reached = range.begin;
  const bool isForKernel = mayCopyInKernel_ && !range.hidesHoles && range.end - range.begin > sizeof(Block);
  if (isForKernel) {
    if (const Error error = CopyInKernel(from, to, range, reached)) return error;
  }
  while (reached < range.end) {
    const std::size_t wanted = std::min<std::uint64_t>(range.end - reached, sizeof(Block));
    std::size_t size = 0;
    if (const Error error = ReadAt(from, Buffer(), wanted, reached, size)) return error;
    if (size == 0) return {};
    const Error error =
        range.hidesHoles ? WriteSparsely(to, Buffer(), size, reached) : WriteAllAt(to, Buffer(), size, reached);
    if (error) return error;
    if (!report_.Wrote(size)) return ECANCELED;
    reached += size;
  }
  return {};
}

/// As far as it gets; the rest, and the reason if there is one, is left to the plain way. Fails only when stopped.
Error ContentsCopier::CopyInKernel(int from, int to, Range range, std::uint64_t& reached) {
  auto in = static_cast<std::int64_t>(range.begin);
  auto out = in;
  reached = range.begin;
  while (reached < range.end) {
    const std::size_t wanted = std::min(range.end - reached, kLongestKernelCopy);
    std::size_t copied = 0;
    const Error error = CopyRange(from, in, to, out, wanted, copied);
    if (IsRefusedForAll(error)) mayCopyInKernel_ = false;
    if (error || copied == 0) return {};
    reached += copied;
    if (!report_.Wrote(copied)) return ECANCELED;
  }
  return {};
}

std::byte* ContentsCopier::Buffer() {
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<Block>();
  return buffer_->bytes;
}

Error HaveSameContents(int one, int other, bool& same) {
  constexpr std::size_t kSize = 64 * 1024;
  const auto buffer = std::make_unique_for_overwrite<std::byte[]>(2 * kSize);
  for (std::uint64_t position = 0;;) {
    std::size_t ofOne = 0;
    std::size_t ofOther = 0;
    if (const Error error = ReadAt(one, &buffer[0], kSize, position, ofOne)) return error;
    if (const Error error = ReadAt(other, &buffer[kSize], kSize, position, ofOther)) return error;
    const std::size_t both = std::min(ofOne, ofOther);  // a read may bring less than there is
    same = std::memcmp(&buffer[0], &buffer[kSize], both) == 0 && (both > 0 || ofOne == ofOther);
    if (!same || both == 0) return {};
    position += both;
  }
}

}  // namespace quill::darwin
