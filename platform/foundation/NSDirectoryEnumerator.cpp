#include "platform/foundation/NSDirectoryEnumerator.h"

#include <dirent.h>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/paths/ItemStatus.h"
#include "platform/darwin/paths/OpenFile.h"

namespace quill::foundation {

NSDirectoryEnumerator::NSDirectoryEnumerator(std::unique_ptr<darwin::DirectoryReader> open) noexcept
    : reader(std::move(open)) {}

NSDirectoryEnumerator::~NSDirectoryEnumerator() = default;

RetainPtr<NSDirectoryEnumerator> NSDirectoryEnumerator::enumeratorAtPath(const NSString* path) {
  if (!path) return nullptr;
  auto directory = darwin::OpenDirectory(path->fileSystemRepresentation());
  if (!directory) return nullptr;
  auto reader = std::make_unique<darwin::DirectoryReader>(std::move(directory));
  return RetainPtr<NSDirectoryEnumerator>::Adopt(new NSDirectoryEnumerator(std::move(reader)));
}

const char* NSDirectoryEnumerator::nextObject() {
  const auto* const entry = reader->Next();
  lastName = entry ? entry->name : nullptr;
  if (entry) lastType = entry->type;
  return lastName;
}

bool NSDirectoryEnumerator::lastIsDirectory() {
  if (!lastName) return false;
  if (lastType != DT_DIR && lastType != DT_LNK && lastType != DT_UNKNOWN) return false;
  return darwin::IsDirectoryAt(reader->descriptor(), lastName);
}

}  // namespace quill::foundation
