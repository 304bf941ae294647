// Streams the entries of a directory, in the file system's order, with memory that does not grow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/darwin/descriptors/FileDescriptor.h"

namespace quill::darwin {

class DirectoryReader {
 public:
  struct Entry {
    /// Valid until the next call of Next.
    const char* name;
    std::uint64_t inode;
    /// DT_DIR, DT_LNK and so on; DT_UNKNOWN where the file system does not say.
    unsigned char type;
  };

  /// \p directory must be open for reading; the reader closes it.
  explicit DirectoryReader(FileDescriptor directory);

  /// The next entry, never "." or ".."; null at the end and on a failure: ask error() then.
  const Entry* Next();

  Error error() const noexcept { return failure_; }
  int descriptor() const noexcept { return directory_.get(); }

  /// Where the next entry begins, for another reader of the same directory.
  std::int64_t position() const noexcept { return next_; }
  /// Goes on from a position of a reader of this directory, 0 for the beginning.
  Error GoTo(std::int64_t position) noexcept;

 private:
  bool Fill();

  static constexpr std::size_t kBufferSize = 32 * 1024;

  FileDescriptor directory_;
  std::unique_ptr<std::byte[]> buffer_;
  std::size_t parsed_ = 0;
  std::size_t filled_ = 0;
  std::int64_t next_ = 0;
  Error failure_;
  Entry current_{};
};

}  // namespace quill::darwin
