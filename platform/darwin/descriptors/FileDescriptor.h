// A file descriptor that closes itself.
#pragma once

#include <utility>

#include "platform/darwin/descriptors/Error.h"

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
  ~FileDescriptor() {
    if (number_ >= 0) (void)Close();  // nothing was written through it, or the writer has closed it and looked
  }

  bool IsOpen() const noexcept { return number_ >= 0; }
  int get() const noexcept { return number_; }
  int Release() noexcept { return std::exchange(number_, -1); }

  /// A delayed write error may only show here. Never repeated, as Linux has released the descriptor even when it
  /// answers EINTR (close(2)). Closing twice is a success.
  Error Close() noexcept;

 private:
  int number_ = -1;
};

}  // namespace quill::darwin
