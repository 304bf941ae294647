// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quill::darwin {

class FileDescriptor {
 public:
  FileDescriptor() noexcept = default;
  explicit FileDescriptor(int open) noexcept : number_(open) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  /// Leaves errno alone, so that the reason of a failure survives the clean-up.
  ~FileDescriptor() {
    const int reason = errno;
    (void)Close();  // nothing was written through it, or the writer has closed it and looked
    errno = reason;
  }

  explicit operator bool() const noexcept { return number_ >= 0; }
  int get() const noexcept { return number_; }
  int Release() noexcept { return std::exchange(number_, -1); }

  /// 0, or the errno: a delayed write error may only show here. Never repeated, as Linux has released the descriptor
  /// even when it answers EINTR (close(2)).
  int Close() noexcept {
    if (number_ < 0) return 0;
    return ::close(Release()) == 0 || errno == EINTR ? 0 : errno;
  }

 private:
  int number_ = -1;
};

}  // namespace quill::darwin
