#include "platform/foundation/NSDirectoryEnumerator.h"

#include <dirent.h>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/paths/Opening.h"

namespace quill::foundation {

NSDirectoryEnumerator::NSDirectoryEnumerator(std::unique_ptr<darwin::DirectoryReader> open) noexcept
    : reader_(std::move(open)) {}

NSDirectoryEnumerator::~NSDirectoryEnumerator() = default;

RetainPtr<NSDirectoryEnumerator> NSDirectoryEnumerator::enumeratorAtPath(const NSString* path,
                                                                         RetainPtr<NSError>* reason) {
  if (!path) return nullptr;
  darwin::FileDescriptor directory;
  if (const darwin::Error error = darwin::OpenDirectory(path->fileSystemRepresentation(), directory)) {
    NSError::Give(error, reason);
    return nullptr;
  }
  // Opened once: entries and their kinds come from the same directory, even if its path leads elsewhere meanwhile.
  auto reader = std::make_unique<darwin::DirectoryReader>(std::move(directory));
  return RetainPtr<NSDirectoryEnumerator>::Adopt(new NSDirectoryEnumerator(std::move(reader)));
}

// The name is in the reader's buffer: it is copied by whoever needs it longer than until the next call.
const char* NSDirectoryEnumerator::nextObject() {
  const auto* const entry = reader_->Next();
  lastName_ = entry ? entry->name : nullptr;
  if (entry) lastType_ = entry->type;
  return lastName_;
}

// Most file systems give the kind with the name, so only what may be a directory is asked about: a directory, because
// it may be gone by now; a link, for its target; and where the file system gives no kind (readdir(3)). What cannot be
// asked is no directory.
bool NSDirectoryEnumerator::lastIsDirectory() {
  if (!lastName_) return false;
  if (lastType_ != DT_DIR && lastType_ != DT_LNK && lastType_ != DT_UNKNOWN) return false;
  mode_t mode = 0;
  return !darwin::GetMode(reader_->descriptor(), lastName_, 0, mode) && S_ISDIR(mode);
}

darwin::Error NSDirectoryEnumerator::error() const noexcept { return reader_->error(); }

}  // namespace quill::foundation
