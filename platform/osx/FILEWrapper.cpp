#include "platform/osx/FILEWrapper.h"

#include <cassert>
#include <limits>

#include "host/QuillErr.h"
#include "host/Ravel.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/paths/Status.h"
#include "platform/foundation/NSFileHandle.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "platform/osx/PlatformString.h"

using foundation::NSData;
using foundation::NSFileHandle;
using foundation::RetainPtr;

namespace {

/// Removal is by path: another file that was put there since goes in place of the one that was open. A directory stays,
/// whatever the path leads to by now; after a change of the current directory a relative one may lead anywhere.
void RemoveFileAt(const QuillFileString& path) noexcept {
  try {
    darwin::ItemStatus there;
    if (darwin::GetStatus(path.getUTF8(), darwin::FinalLink::kItself, there) || there.IsDirectory()) return;
    int unreported = kQuillErrNone;
    (void)OSXFileSystemUtils::_RemoveItemAtPath(PlatformString(path).get(), unreported);
  } catch (...) {
    (void)darwin::Unlink(path.getUTF8());  // takes no memory
  }
}

}  // namespace

FILEWrapper::FILEWrapper(CoreFileManager& owner, const QuillFileString& path, NSFileHandle* open, bool removeAtEnd)
    : QuillFileBase(owner), handle(RetainPtr<NSFileHandle>(open)), fileName(path), autoDelete(removeAtEnd) {
  assert(handle && "a file object has an open handle");
  fileSize = static_cast<long long>(handle->seekToEndOfFile());
  handleOffset = fileSize;
}

FILEWrapper::~FILEWrapper() {
  try {
    handle->closeFile();
  } catch (...) {
    // Nobody is left to be told; the descriptor is released all the same.
  }
  handle = nullptr;
  if (autoDelete) RemoveFileAt(fileName);
}

void* FILEWrapper::operator new(std::size_t size) { return Ravel::SystemNew(size, Ravel::kSystemDefault); }

void FILEWrapper::operator delete(void* memory) noexcept { Ravel::SystemDelete(memory); }

bool FILEWrapper::Tell(long long& result) {
  result = position;
  return true;
}

bool FILEWrapper::Size(long long& result) {
  result = fileSize;
  return true;
}

bool FILEWrapper::Seek(long long offset, EQuillFileSeek origin, long long& newPosition) {
  long long base = position;
  if (origin == kQuillFileSeekBegin) base = 0;
  if (origin == kQuillFileSeekEnd) base = fileSize;

  // The base is never negative, so only the upper end can overflow.
  const bool tooFar = offset > std::numeric_limits<long long>::max() - base;
  if (tooFar || base + offset < 0) {
    lastError = kQuillErrIO;
    newPosition = position = 0;
    return false;
  }
  lastError = kQuillErrNone;
  newPosition = position = base + offset;
  return true;
}

void FILEWrapper::MoveHandleToPosition() {
  handle->seekToFileOffset(static_cast<unsigned long long>(position));
  handleOffset = position;
}

bool FILEWrapper::Read(void* buffer, unsigned long count, unsigned long& bytesRead) {
  const int previousError = lastError;
  lastError = kQuillErrNone;
  if (position >= fileSize) {
    bytesRead = 0;
    return true;
  }
  if (previousError != kQuillErrNone || handleOffset != position) MoveHandleToPosition();

  std::size_t got = 0;
  // One call, not repeated after EINTR: how much is read at once is the caller's to decide.
  if (const darwin::Error error = darwin::ReadOnce(handle->fileDescriptor(), buffer, count, got)) {
    lastError = OSXFileSystemUtils::_PosixErrToQuillErr(error.posix());
    bytesRead = 0;
    return false;
  }
  bytesRead = got;
  position += static_cast<long long>(got);
  handleOffset = position;
  return true;
}

QuillFileString& FILEWrapper::GetFileName() { return fileName; }

int FILEWrapper::GetLastError() { return lastError; }

bool FILEWrapper::Truncate() {
  lastError = kQuillErrNone;
  handle->truncateFileAtOffset(static_cast<unsigned long long>(position));
  fileSize = handleOffset = position;
  return true;
}

bool FILEWrapper::Flush() {
  handle->synchronizeFile();
  lastError = kQuillErrNone;
  return true;
}

/// Never cuts what others have written behind the end that this object knows of.
void FILEWrapper::ExtendToPosition() {
  if (position <= fileSize) return;
  const auto wanted = static_cast<unsigned long long>(position);
  if (handle->seekToEndOfFile() < wanted) handle->truncateFileAtOffset(wanted);
}

void FILEWrapper::PositionForWriting(int previousError) {
  if (previousError != kQuillErrNone || handleOffset != position) MoveHandleToPosition();
}

bool FILEWrapper::prvWrite(const void* data, unsigned long count) {
  const int previousError = lastError;
  lastError = kQuillErrNone;
  PositionForWriting(previousError);
  // Writing behind the end fills the gap with zero bytes, wherever the end is by now. Without bytes there is only the
  // gap.
  if (count == 0) ExtendToPosition();

  handle->writeData(NSData{data, count});
  position += static_cast<long long>(count);
  fileSize = handleOffset = static_cast<long long>(handle->seekToEndOfFile());
  return true;
}

bool FILEWrapper::prvAppend(const void* data, unsigned long count) {
  lastError = kQuillErrNone;
  const long long before = position;
  position = handleOffset = static_cast<long long>(handle->seekToEndOfFile());
  try {
    (void)prvWrite(data, count);  // always true: a failure leaves as an exception
  } catch (...) {
    position = before;
    throw;
  }
  return true;
}

void FILEWrapper::setAutoDelete(bool flag) { autoDelete = flag; }
