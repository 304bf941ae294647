// Listing a directory, and the volumes.

#include <memory>

#include "platform/osx/OSXFileIterator.h"
#include "platform/osx/OSXFileManager.h"
#include "platform/osx/PlatformString.h"

namespace {

// A handle is the iterator's address, taken as the interface.
QuillFileFindRef* HandleFrom(IFileIterator* iterator) { return reinterpret_cast<QuillFileFindRef*>(iterator); }

IFileIterator* IteratorOf(QuillFileFindRef* handle) { return reinterpret_cast<IFileIterator*>(handle); }

}  // namespace

QuillFileFindRef* OSXFileManager::FindFirst(const QuillFileString& directory, FindFileInfo& info) {
  if (!_FileExists(directory, nullptr)) return nullptr;
  auto iterator = std::make_unique<OSXFileIterator>();
  if (!iterator->Init(directory)) return nullptr;
  if (!iterator->GetNextItem(&info)) return nullptr;
  return HandleFrom(iterator.release());
}

bool OSXFileManager::FindNext(QuillFileFindRef* handle, FindFileInfo& info) {
  return IteratorOf(handle)->GetNextItem(&info);
}

bool OSXFileManager::FindClose(QuillFileFindRef* handle) {
  delete IteratorOf(handle);
  return true;
}

QuillFileFindRef* OSXFileManager::FindFirstRoot(FindFileInfo& info) {
  info.path.setUTF8("/");
  info.type = kQuillFileTypeDirectory;
  return HandleFrom(new TrivialVolumeIterator);
}
