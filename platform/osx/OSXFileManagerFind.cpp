// Listing a directory, and the volumes.

#include <cassert>
#include <cstddef>
#include <memory>

#include "platform/osx/OSXFileIterator.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

using quill::Operation;

// Compiled hosts give the structure and read its members.
static_assert(sizeof(void*) != 8 ||
                  (offsetof(FindFileInfo, path) == 8 && sizeof(FindFileInfo) == 8 + sizeof(QuillFileString)),
              "the layout of FindFileInfo is part of the binary interface");

namespace {

// A handle is the iterator's address, taken as the interface.
QuillFileFindRef* HandleFrom(IFileIterator* iterator) { return reinterpret_cast<QuillFileFindRef*>(iterator); }

IFileIterator* IteratorOf(QuillFileFindRef* handle) { return reinterpret_cast<IFileIterator*>(handle); }

}  // namespace

// Records no code, whatever happens. Hosts list directories that may be missing, and expect the code of an earlier
// failure to stay. LastFailure has the reason.
QuillFileFindRef* OSXFileManager::FindFirst(const QuillFileString& directory, FindFileInfo& info) {
  Operation operation(*this, __func__, directory);
  auto iterator = std::make_unique<OSXFileIterator>();
  foundation::RetainPtr<foundation::NSError> error;
  if (!iterator->Init(directory, &error)) {
    (void)operation.FailSilently(error.get());
    return nullptr;
  }
  if (iterator->GetNextItem(&info)) return HandleFrom(iterator.release());
  // An empty directory is null too, but nothing has failed then and nothing is noted.
  if (operation.causeOfCalled()) (void)operation.FailAsCalled();
  return nullptr;
}

bool OSXFileManager::FindNext(QuillFileFindRef* handle, FindFileInfo& info) {
  assert(handle && "a listing that FindFirst or FindFirstRoot has begun");
  // The handle does not keep the path of its directory, so the note has none.
  Operation operation(*this, __func__);
  if (IteratorOf(handle)->GetNextItem(&info)) return true;
  return operation.causeOfCalled() ? operation.FailAsCalled() : false;
}

// Null is welcome: hosts close what FindFirst has given them without looking at it.
bool OSXFileManager::FindClose(QuillFileFindRef* handle) {
  delete IteratorOf(handle);
  return true;
}

// There is one volume to list, the root. Other file systems are found at their mount points below it.
QuillFileFindRef* OSXFileManager::FindFirstRoot(FindFileInfo& info) {
  info.path.setUTF8("/");
  info.type = kQuillFileTypeDirectory;
  return HandleFrom(new TrivialVolumeIterator);
}
