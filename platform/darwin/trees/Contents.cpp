#include "platform/darwin/trees/Contents.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/darwin/descriptors/Retry.h"

namespace quill::darwin {
namespace {

constexpr std::uint64_t kLongestKernelCopy = 64 << 20;  // between two reports

int WriteAll(int to, const std::byte* data, std::size_t size, std::uint64_t position, bool positioned) {
  while (size > 0) {
    const ssize_t put = Retry(
        [&] { return positioned ? ::pwrite(to, data, size, static_cast<off_t>(position)) : ::write(to, data, size); });
    if (put < 0) return errno;
    if (put == 0) return EIO;
    data += put;
    size -= static_cast<std::size_t>(put);
    position += static_cast<std::uint64_t>(put);
  }
  return 0;
}

bool IsZeros(const std::byte* data, std::size_t size) {
  return *data == std::byte{0} && std::memcmp(data, data + 1, size - 1) == 0;
}

/// Leaves out blocks of zeros, which become holes.
int WriteSparsely(int to, const std::byte* data, std::size_t size, std::uint64_t position) {
  constexpr std::size_t kBlock = 16 * 1024;
  for (std::size_t at = 0; at < size; at += kBlock) {
    const std::size_t length = std::min(kBlock, size - at);
    if (IsZeros(data + at, length)) continue;
    if (const int error = WriteAll(to, data + at, length, position + at, /*positioned=*/true)) return error;
  }
  return 0;
}

/// By these file systems, or by this kernel.
bool IsRefusedForAll(int error) { return error == EOPNOTSUPP || error == EXDEV || error == ENOTTY || error == ENOSYS; }

off_t Seek(int file, std::uint64_t position, int whence) {
  return Retry([&] { return ::lseek(file, static_cast<off_t>(position), whence); });
}

}  // namespace

int DataCopier::Copy(int from, const TreeItem& source, int to) {
  if (source.size > 0 && mayClone_ && Clone(from, to)) return report_.Wrote(source.size) ? 0 : ECANCELED;
  const bool hasHoles = source.blocks * 512 < source.size;
  return hasHoles ? CopyExtents(from, source, to) : CopyToEnd(from, source, to);
}

bool DataCopier::Clone(int from, int to) {
  if (Retry([&] { return ::ioctl(to, FICLONE, from); }) == 0) return true;
  // Others concern one file alone. Whatever the reason is: if it is serious, the plain way meets it as well.
  if (IsRefusedForAll(errno)) mayClone_ = false;
  return false;
}

/// Reads without positions, so that it suits files that have none.
int DataCopier::CopyToEnd(int from, const TreeItem& source, int to) {
  std::uint64_t total = 0;
  if (source.size > sizeof(Block) && mayCopyInKernel_) {
    if (!CopyInKernel(from, to, {0, source.size}, total)) return ECANCELED;
    if (Seek(from, total, SEEK_SET) == -1 || Seek(to, total, SEEK_SET) == -1) return errno;
  }
  for (;;) {
    const ssize_t got = Retry([&] { return ::read(from, Buffer(), sizeof(Block)); });
    if (got <= 0) return got == 0 ? 0 : errno;
    const auto size = static_cast<std::size_t>(got);
    if (const int error = WriteAll(to, Buffer(), size, 0, /*positioned=*/false)) return error;
    if (!report_.Wrote(size)) return ECANCELED;
    total += size;
    // It has kept its word: no further read to see the end. Files of /proc and /sys do not.
    if (total == source.size && size < sizeof(Block)) return 0;
  }
}

int DataCopier::CopyExtents(int from, const TreeItem& source, int to) {
  std::uint64_t position = 0;
  while (position < source.size) {
    const off_t data = Seek(from, position, SEEK_DATA);
    if (data < 0 && errno == ENXIO) break;  // a hole up to the end
    if (data < 0 && errno == EINVAL && position == 0) {
      // A file system that knows nothing about holes.
      if (Seek(from, 0, SEEK_SET) == -1) return errno;
      return CopyToEnd(from, source, to);
    }
    const off_t hole = data < 0 ? -1 : Seek(from, static_cast<std::uint64_t>(data), SEEK_HOLE);
    if (hole < 0) return errno;
    Range extent{static_cast<std::uint64_t>(data), std::min(static_cast<std::uint64_t>(hole), source.size)};
    extent.hidesHoles = extent.begin == 0 && extent.end == source.size;  // more bytes than its blocks hold
    if (const int error = CopyRange(from, to, extent, position)) return error;
    // It ended before the size that it claims: so does the copy.
    if (position < extent.end) return Retry([&] { return ::ftruncate(to, static_cast<off_t>(position)); }) ? errno : 0;
  }
  return Retry([&] { return ::ftruncate(to, static_cast<off_t>(source.size)); }) == 0 ? 0 : errno;
}

int DataCopier::CopyRange(int from, int to, Range range, std::uint64_t& reached) {
  reached = range.begin;
  const bool isForKernel = mayCopyInKernel_ && !range.hidesHoles && range.end - range.begin > sizeof(Block);
  if (isForKernel && !CopyInKernel(from, to, range, reached)) return ECANCELED;
  while (reached < range.end) {
    const std::size_t wanted = std::min<std::uint64_t>(range.end - reached, sizeof(Block));
    const auto position = static_cast<off_t>(reached);
    const ssize_t got = Retry([&] { return ::pread(from, Buffer(), wanted, position); });
    if (got <= 0) return got == 0 ? 0 : errno;
    const auto size = static_cast<std::size_t>(got);
    const int error = range.hidesHoles ? WriteSparsely(to, Buffer(), size, reached)
                                       : WriteAll(to, Buffer(), size, reached, /*positioned=*/true);
    if (error != 0) return error;
    if (!report_.Wrote(size)) return ECANCELED;
    reached += size;
  }
  return 0;
}

/// As far as it gets; the rest, and the reason if there is one, is the plain way's. False when it was stopped.
bool DataCopier::CopyInKernel(int from, int to, Range range, std::uint64_t& reached) {
  auto in = static_cast<off_t>(range.begin);
  auto out = in;
  reached = range.begin;
  while (reached < range.end) {
    const std::size_t wanted = std::min(range.end - reached, kLongestKernelCopy);
    const ssize_t done = Retry([&] { return ::copy_file_range(from, &in, to, &out, wanted, 0); });
    if (done < 0 && IsRefusedForAll(errno)) mayCopyInKernel_ = false;
    if (done <= 0) return true;
    reached += static_cast<std::uint64_t>(done);
    if (!report_.Wrote(static_cast<std::uint64_t>(done))) return false;
  }
  return true;
}

std::byte* DataCopier::Buffer() {
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<Block>();
  return buffer_->bytes;
}

}  // namespace quill::darwin
