#include "platform/osx/OSXFileManager.h"

#include "host/Ravel.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/PlatformString.h"

OSXFileManager::OSXFileManager() : fileManager(foundation::NSFileManager::defaultManager()) {}

void* OSXFileManager::operator new(std::size_t size) { return Ravel::SystemNew(size, Ravel::kSystemDefault); }

void OSXFileManager::operator delete(void* memory) noexcept { Ravel::SystemDelete(memory); }

// No success clears the code: it belongs to the last failure that had one. A caller who wants to know whether the next
// operation records something sets it to kQuillErrNone first.
int OSXFileManager::GetLastError() { return lastError; }

void OSXFileManager::SetLastError(int code) { lastError = code; }

// SetLastError is called through the table, so that a host which overrides it hears the code.
bool OSXFileManager::Fail(int code) {
  SetLastError(code);
  return false;
}
