#include "platform/foundation/NSFileHandle.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/paths/OpenFile.h"

namespace quill::foundation {
namespace {

/// An offset above the largest of the kernel's arrives there as a negative one, which it refuses with EINVAL.
off_t KernelOffset(unsigned long long offset) noexcept { return static_cast<off_t>(offset); }

void RaiseWhen(bool isFailure, const char* operation) {
  if (isFailure) throw NSException(errno, operation);
}

}  // namespace

RetainPtr<NSFileHandle> NSFileHandle::Open(const NSString* path, int access) {
  if (!path) return nullptr;
  long long end = 0;
  auto file = darwin::OpenPositionable(path->fileSystemRepresentation(), access, end);
  if (!file) return nullptr;
  auto handle = RetainPtr<NSFileHandle>::Adopt(new NSFileHandle(file.get(), end));
  (void)file.Release();  // the handle closes it from here on
  return handle;
}

RetainPtr<NSFileHandle> NSFileHandle::fileHandleForReadingAtPath(const NSString* path) { return Open(path, O_RDONLY); }

RetainPtr<NSFileHandle> NSFileHandle::fileHandleForWritingAtPath(const NSString* path) { return Open(path, O_WRONLY); }

RetainPtr<NSFileHandle> NSFileHandle::fileHandleForUpdatingAtPath(const NSString* path) { return Open(path, O_RDWR); }

NSFileHandle::~NSFileHandle() {
  const darwin::FileDescriptor closesSilently(descriptor_);  // nobody is left who could be told
}

void NSFileHandle::seekToFileOffset(unsigned long long offset) {
  knownEnd_.reset();
  RaiseWhen(::lseek(descriptor_, KernelOffset(offset), SEEK_SET) < 0, "seekToFileOffset");
}

unsigned long long NSFileHandle::seekToEndOfFile() {
  const auto known = std::exchange(knownEnd_, std::nullopt);
  if (known) return static_cast<unsigned long long>(*known);
  const off_t end = ::lseek(descriptor_, 0, SEEK_END);
  RaiseWhen(end < 0, "seekToEndOfFile");
  return static_cast<unsigned long long>(end);
}

void NSFileHandle::truncateFileAtOffset(unsigned long long offset) {
  knownEnd_.reset();
  const off_t length = KernelOffset(offset);
  const int result = darwin::Retry([&] { return ::ftruncate(descriptor_, length); });
  RaiseWhen(result != 0 || ::lseek(descriptor_, length, SEEK_SET) < 0, "truncateFileAtOffset");
}

void NSFileHandle::writeData(const NSData& data) {
  if (data.length == 0) return;
  knownEnd_.reset();
  std::size_t written = 0;
  const int error = darwin::WriteAll(descriptor_, data.bytes, data.length, written);
  if (error == 0) return;
  // Should this fail too, there is nothing better to do, and the first reason is the one to tell.
  if (written > 0) (void)::lseek(descriptor_, -static_cast<off_t>(written), SEEK_CUR);
  throw NSException(error, "writeData");
}

void NSFileHandle::synchronizeFile() {
  RaiseWhen(darwin::Retry([this] { return ::fsync(descriptor_); }) != 0, "synchronizeFile");
}

void NSFileHandle::closeFile() {
  knownEnd_.reset();
  darwin::FileDescriptor open(std::exchange(descriptor_, -1));
  const int error = open.Close();
  if (error != 0) throw NSException(error, "closeFile");
}

}  // namespace quill::foundation
