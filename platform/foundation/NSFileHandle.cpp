#include "platform/foundation/NSFileHandle.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/paths/Opening.h"

namespace quill::foundation {
namespace {

/// An offset that is too large for the kernel becomes negative, which the kernel refuses with EINVAL.
std::int64_t KernelOffset(unsigned long long offset) noexcept { return static_cast<std::int64_t>(offset); }

void RaiseOn(darwin::Error error, const char* operation) {
  if (error) throw NSException(error.posix(), operation);
}

}  // namespace

// The end was found while opening: whether a file has one decides whether it can be a handle at all. It is kept for the
// first question, which mostly follows at once, and forgotten with the first change.
RetainPtr<NSFileHandle> NSFileHandle::Open(const NSString* path, int access, RetainPtr<NSError>* error) {
  if (!path) return nullptr;
  darwin::FileDescriptor file;
  std::int64_t end = 0;
  if (const auto cause = darwin::OpenPositionable(path->fileSystemRepresentation(), access, file, end)) {
    NSError::Give(cause, error);
    return nullptr;
  }
  // The descriptor closes itself if there is no memory for the handle.
  auto handle = RetainPtr<NSFileHandle>::Adopt(new NSFileHandle(file.get(), end));
  (void)file.Release();  // the handle closes it from here on
  return handle;
}

RetainPtr<NSFileHandle> NSFileHandle::fileHandleForReadingAtPath(const NSString* path, RetainPtr<NSError>* error) {
  return Open(path, O_RDONLY, error);
}

RetainPtr<NSFileHandle> NSFileHandle::fileHandleForWritingAtPath(const NSString* path, RetainPtr<NSError>* error) {
  return Open(path, O_WRONLY, error);
}

RetainPtr<NSFileHandle> NSFileHandle::fileHandleForUpdatingAtPath(const NSString* path, RetainPtr<NSError>* error) {
  return Open(path, O_RDWR, error);
}

NSFileHandle::~NSFileHandle() {
  const darwin::FileDescriptor closesSilently(descriptor_);  // a destructor has no way to report an error
}

// The known end is dropped before the call in each of these, so that a failure leaves nothing that may be wrong.
void NSFileHandle::seekToFileOffset(unsigned long long offset) {
  knownEnd_.reset();
  RaiseOn(darwin::Seek(descriptor_, KernelOffset(offset), SEEK_SET), "seekToFileOffset");
}

// A new handle's pointer is at the end already. Otherwise the kernel is asked, since others may have written.
unsigned long long NSFileHandle::seekToEndOfFile() {
  const auto known = std::exchange(knownEnd_, std::nullopt);
  std::int64_t end = known.value_or(0);
  if (!known) RaiseOn(darwin::Seek(descriptor_, 0, SEEK_END, end), "seekToEndOfFile");
  return static_cast<unsigned long long>(end);
}

void NSFileHandle::truncateFileAtOffset(unsigned long long offset) {
  knownEnd_.reset();
  // Cutting leaves the pointer where it was (ftruncate(2)), which may be behind the new end.
  const std::int64_t length = KernelOffset(offset);
  RaiseOn(darwin::Truncate(descriptor_, length), "truncateFileAtOffset");
  RaiseOn(darwin::Seek(descriptor_, length, SEEK_SET), "truncateFileAtOffset");
}

void NSFileHandle::writeData(const NSData& data) {
  // Not even the kernel is asked: a write of nothing succeeds on a closed handle too.
  if (data.length == 0) return;
  knownEnd_.reset();
  std::size_t written = 0;
  const darwin::Error error = darwin::WriteAll(descriptor_, data.bytes, data.length, written);
  if (!error) return;
  // If this fails as well, nothing more can be done, and the first reason is the one to report.
  if (written > 0) (void)darwin::Seek(descriptor_, -static_cast<std::int64_t>(written), SEEK_CUR);
  RaiseOn(error, "writeData");
}

void NSFileHandle::synchronizeFile() { RaiseOn(darwin::Sync(descriptor_), "synchronizeFile"); }

void NSFileHandle::closeFile() {
  knownEnd_.reset();
  // The handle is closed whatever close answers: Linux has released the number even then (close(2)).
  darwin::FileDescriptor open(std::exchange(descriptor_, -1));
  RaiseOn(open.Close(), "closeFile");
}

}  // namespace quill::foundation
