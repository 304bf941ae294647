#include "platform/osx/OSXFileIterator.h"

#include "host/Ravel.h"
#include "platform/foundation/NSDirectoryEnumerator.h"
#include "platform/foundation/NSError.h"
#include "platform/osx/Operation.h"
#include "platform/osx/PlatformString.h"

OSXFileIterator::OSXFileIterator() noexcept = default;

OSXFileIterator::~OSXFileIterator() = default;

// A find handle is the address of an iterator, which the host keeps until FindClose. So iterators live in the host's
// memory, as file objects do.
void* OSXFileIterator::operator new(std::size_t size) { return Ravel::SystemNew(size, Ravel::kSystemDefault); }

void OSXFileIterator::operator delete(void* memory) noexcept { Ravel::SystemDelete(memory); }

// The reason is given for the note alone. FindFirst answers null for a missing directory and for an empty one.
bool OSXFileIterator::Init(const QuillFileString& directory, foundation::RetainPtr<foundation::NSError>* reason) {
  enumerator = foundation::NSDirectoryEnumerator::enumeratorAtPath(PlatformString(directory).get(), reason);
  return static_cast<bool>(enumerator);
}

bool OSXFileIterator::GetNextItem(FindFileInfo* info) {
  const char* const name = enumerator->nextObject();
  if (!name) {
    // The end of a listing and a reading that breaks off are both "no more entries" to the host; this is the
    // difference.
    if (const darwin::Error error = enumerator->error()) quill::Operation::HandUp(error);
    return false;
  }
  // Composed, whatever bytes are on the disk. Every operation finds the item by this text again.
  SetInFormC(name, info->path);
  // A link to a directory is one. A link whose target is missing counts as a file, and so does an entry that was
  // removed between its listing and this question.
  info->type = enumerator->lastIsDirectory() ? kQuillFileTypeDirectory : kQuillFileTypeFile;
  return true;
}

void* TrivialVolumeIterator::operator new(std::size_t size) { return Ravel::SystemNew(size, Ravel::kSystemDefault); }

void TrivialVolumeIterator::operator delete(void* memory) noexcept { Ravel::SystemDelete(memory); }

// FindFirstRoot has delivered the only entry itself.
bool TrivialVolumeIterator::GetNextItem(FindFileInfo*) { return false; }
