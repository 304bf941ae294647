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

RetainPtr<NSFileHandle> NSFileHandle::Open(const NSString* path, int access, RetainPtr<NSError>* error) {
  if (!path) return nullptr;
  darwin::FileDescriptor file;
  std::int64_t end = 0;
  if (const auto cause = darwin::OpenPositionable(path->fileSystemRepresentation(), access, file, end)) {
    NSError::Give(cause, error);
    return nullptr;
  }
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

void NSFileHandle::seekToFileOffset(unsigned long long offset) {
  knownEnd_.reset();
  RaiseOn(darwin::Seek(descriptor_, KernelOffset(offset), SEEK_SET), "seekToFileOffset");
}

unsigned long long NSFileHandle::seekToEndOfFile() {
  const auto known = std::exchange(knownEnd_, std::nullopt);
  std::int64_t end = known.value_or(0);
  if (!known) RaiseOn(darwin::Seek(descriptor_, 0, SEEK_END, end), "seekToEndOfFile");
  return static_cast<unsigned long long>(end);
}

void NSFileHandle::truncateFileAtOffset(unsigned long long offset) {
  knownEnd_.reset();
  const std::int64_t length = KernelOffset(offset);
  RaiseOn(darwin::Truncate(descriptor_, length), "truncateFileAtOffset");
  RaiseOn(darwin::Seek(descriptor_, length, SEEK_SET), "truncateFileAtOffset");
}

void NSFileHandle::writeData(const NSData& data) {
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
  darwin::FileDescriptor open(std::exchange(descriptor_, -1));
  RaiseOn(open.Close(), "closeFile");
}

}  // namespace quill::foundation
