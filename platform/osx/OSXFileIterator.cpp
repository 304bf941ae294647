#include "platform/osx/OSXFileIterator.h"

#include "host/Ravel.h"
#include "platform/foundation/NSDirectoryEnumerator.h"
#include "platform/foundation/NSError.h"
#include "platform/osx/PlatformString.h"

OSXFileIterator::OSXFileIterator() noexcept = default;

OSXFileIterator::~OSXFileIterator() = default;

void* OSXFileIterator::operator new(std::size_t size) { return Ravel::SystemNew(size, Ravel::kSystemDefault); }

void OSXFileIterator::operator delete(void* memory) noexcept { Ravel::SystemDelete(memory); }

bool OSXFileIterator::Init(const QuillFileString& directory, foundation::RetainPtr<foundation::NSError>* reason) {
  enumerator = foundation::NSDirectoryEnumerator::enumeratorAtPath(PlatformString(directory).get(), reason);
  return static_cast<bool>(enumerator);
}

darwin::Error OSXFileIterator::error() const noexcept { return enumerator->error(); }

bool OSXFileIterator::GetNextItem(FindFileInfo* info) {
  const char* const name = enumerator->nextObject();
  if (!name) return false;
  SetInFormC(name, info->path);
  info->type = enumerator->lastIsDirectory() ? kQuillFileTypeDirectory : kQuillFileTypeFile;
  return true;
}

void* TrivialVolumeIterator::operator new(std::size_t size) { return Ravel::SystemNew(size, Ravel::kSystemDefault); }

void TrivialVolumeIterator::operator delete(void* memory) noexcept { Ravel::SystemDelete(memory); }

bool TrivialVolumeIterator::GetNextItem(FindFileInfo*) { return false; }
