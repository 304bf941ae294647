#include "platform/foundation/NSDirectoryEnumerator.h"

#include <dirent.h>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/paths/ItemStatus.h"
#include "platform/darwin/paths/OpenFile.h"

namespace quill::foundation {

NSDirectoryEnumerator::NSDirectoryEnumerator(std::unique_ptr<darwin::DirectoryReader> open) noexcept
    : reader_(std::move(open)) {}

NSDirectoryEnumerator::~NSDirectoryEnumerator() = default;

RetainPtr<NSDirectoryEnumerator> NSDirectoryEnumerator::enumeratorAtPath(const NSString* path) {
  if (!path) return nullptr;
  auto directory = darwin::OpenDirectory(path->fileSystemRepresentation());
  if (!directory) return nullptr;
  auto reader = std::make_unique<darwin::DirectoryReader>(std::move(directory));
  return RetainPtr<NSDirectoryEnumerator>::Adopt(new NSDirectoryEnumerator(std::move(reader)));
}

const char* NSDirectoryEnumerator::nextObject() {
  const auto* const entry = reader_->Next();
  lastName_ = entry ? entry->name : nullptr;
  if (entry) lastType_ = entry->type;
  return lastName_;
}

bool NSDirectoryEnumerator::lastIsDirectory() {
  if (!lastName_) return false;
  if (lastType_ != DT_DIR && lastType_ != DT_LNK && lastType_ != DT_UNKNOWN) return false;
  return darwin::IsDirectoryAt(reader_->descriptor(), lastName_);
}

}  // namespace quill::foundation
