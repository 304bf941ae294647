#include "host/QuillFileBase.h"

#include "host/CoreFileManager.h"
#include "platform/foundation/NSException.h"
#include "platform/osx/OSXFileSystemUtils.h"

namespace {

/// Runs a write primitive, and records an exception of the platform as the manager's last error.
template <typename Primitive>
bool Written(CoreFileManager& manager, Primitive primitive) {
  try {
    return primitive();
  } catch (const quill::foundation::NSException& failure) {
    // Nothing but a failed platform call. Whatever else is thrown, std::bad_alloc for one, is the caller's.
    manager.SetLastError(OSXFileSystemUtils::_PosixErrToQuillErr(failure.code().value()));
    return false;
  }
}

}  // namespace

QuillFileBase::~QuillFileBase() = default;

bool QuillFileBase::Write(const void* data, unsigned long count) {
  return Written(*manager, [&] { return prvWrite(data, count); });
}

bool QuillFileBase::Append(const void* data, unsigned long count) {
  return Written(*manager, [&] { return prvAppend(data, count); });
}
