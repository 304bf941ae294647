#include "platform/osx/OSXFileManager.h"

#include "host/Ravel.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/osx/PlatformString.h"

OSXFileManager::OSXFileManager() : fileManager(foundation::NSFileManager::defaultManager()) {}

void* OSXFileManager::operator new(std::size_t size) { return Ravel::SystemNew(size, Ravel::kSystemDefault); }

void OSXFileManager::operator delete(void* memory) noexcept { Ravel::SystemDelete(memory); }

int OSXFileManager::GetLastError() { return lastError; }

void OSXFileManager::SetLastError(int code) { lastError = code; }

bool OSXFileManager::Fail(int code) {
  SetLastError(code);
  return false;
}
