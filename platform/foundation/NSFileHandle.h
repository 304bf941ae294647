// An open file with a file pointer.
//
// The factories return null, and put the reason into the error variable, when the path is nil, cannot be opened that
// way, or cannot be positioned. That is so for directories, FIFOs, sockets, terminals, devices that do not support it,
// and some files that exist only in the kernel. The factories never wait for a peer. A new handle's file pointer is at
// the end of the file. Every other operation raises NSException when the platform fails, or when the handle has been
// closed.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/foundation/NSData.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/NSException.h"
#include "platform/foundation/NSString.h"

namespace quill::foundation {

class NSFileHandle final : public NSObject {
 public:
  static RetainPtr<NSFileHandle> fileHandleForReadingAtPath(const NSString* path, RetainPtr<NSError>* error = nullptr);
  static RetainPtr<NSFileHandle> fileHandleForWritingAtPath(const NSString* path, RetainPtr<NSError>* error = nullptr);
  static RetainPtr<NSFileHandle> fileHandleForUpdatingAtPath(const NSString* path, RetainPtr<NSError>* error = nullptr);

  /// Owned by the handle; -1 once closed. The caller may move the file pointer.
  int fileDescriptor() noexcept {
    knownEnd_.reset();
    return descriptor_;
  }

  void seekToFileOffset(unsigned long long offset);
  unsigned long long seekToEndOfFile();
  /// Leaves the file pointer at \p offset.
  void truncateFileAtOffset(unsigned long long offset);
  /// Writes all bytes at the file pointer. When it raises, the pointer is back where the write began.
  void writeData(const NSData& data);
  /// Returns when the data is on the device.
  void synchronizeFile();
  /// Closes the descriptor even when this raises. A second call does nothing.
  void closeFile();

 private:
  NSFileHandle(int open, std::int64_t end) noexcept : descriptor_(open), knownEnd_(end) {}
  ~NSFileHandle() override;
  static RetainPtr<NSFileHandle> Open(const NSString* path, int access, RetainPtr<NSError>* error);

  int descriptor_;
  // Opening seeks to the end to prove that the file can be positioned, so the first seekToEndOfFile need not ask again.
  std::optional<std::int64_t> knownEnd_;
};

}  // namespace quill::foundation
