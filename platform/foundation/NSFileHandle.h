// An open file with a file pointer.
//
// The factories give null when the path is nil, cannot be opened that way, or cannot be positioned: a directory, a
// FIFO, a socket, a terminal. They never wait for a peer. Every other operation raises NSException when the platform
// fails.
#pragma once

#include <optional>

#include "platform/foundation/NSData.h"
#include "platform/foundation/NSException.h"
#include "platform/foundation/NSObject.h"
#include "platform/foundation/NSString.h"

namespace foundation {

class QUILL_EXPORT NSFileHandle final : public NSObject {
 public:
  static RetainPtr<NSFileHandle> fileHandleForReadingAtPath(const NSString* path);
  static RetainPtr<NSFileHandle> fileHandleForWritingAtPath(const NSString* path);
  static RetainPtr<NSFileHandle> fileHandleForUpdatingAtPath(const NSString* path);

  /// Owned by the handle; -1 once closed.
  int fileDescriptor() const noexcept { return descriptor; }

  void seekToFileOffset(unsigned long long offset);
  unsigned long long seekToEndOfFile();
  /// Leaves the file pointer at \p offset.
  void truncateFileAtOffset(unsigned long long offset);
  /// Writes all bytes at the file pointer. When it raises, the pointer is back where the write began.
  void writeData(const NSData& data);
  /// Returns when the data is on the device.
  void synchronizeFile();
  void closeFile();

 private:
  NSFileHandle(int open, long long end) noexcept : descriptor(open), knownEnd(end) {}
  ~NSFileHandle() override;
  static RetainPtr<NSFileHandle> Open(const NSString* path, int mode);

  int descriptor;
  // Opening finds the end to prove that the file can be positioned; the first seekToEndOfFile need not ask again.
  std::optional<long long> knownEnd;
};

}  // namespace foundation
