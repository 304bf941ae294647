// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quill::darwin {

class FileDescriptor {
 public:
  FileDescriptor() noexcept = default;
  explicit FileDescriptor(int open) noexcept : number(open) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number, other.number);
    return *this;
  }
  /// Leaves errno alone, so that the reason of a failure survives the clean-up.
  ~FileDescriptor() {
    const int reason = errno;
    (void)Close();  // nothing was written through it, or the writer has closed it and looked
    errno = reason;
  }

  explicit operator bool() const noexcept { return number >= 0; }
  int get() const noexcept { return number; }
  int Release() noexcept { return std::exchange(number, -1); }

  /// 0, or the errno: a delayed write error may only show here. Never repeated, as Linux has released the descriptor
  /// even when it answers EINTR (close(2)).
  int Close() noexcept {
    if (number < 0) return 0;
    return ::close(Release()) == 0 || errno == EINTR ? 0 : errno;
  }

 private:
  int number = -1;
};

}  // namespace quill::darwin
