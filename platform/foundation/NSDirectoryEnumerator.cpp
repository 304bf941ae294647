#include "platform/foundation/NSDirectoryEnumerator.h"

#include <dirent.h>

#include "platform/darwin/DirectoryReader.h"
#include "platform/darwin/ItemStatus.h"
#include "platform/darwin/OpenFile.h"

namespace foundation {

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

RetainPtr<NSString> NSDirectoryEnumerator::nextObject() {
  const auto* const entry = reader->Next();
  if (!entry) return last = nullptr;
  lastMayBeDirectory = entry->type == DT_DIR || entry->type == DT_LNK || entry->type == DT_UNKNOWN;
  return last = NSString::stringWithFileSystemBytes(entry->name);
}

bool NSDirectoryEnumerator::lastIsDirectory() {
  if (!last || !lastMayBeDirectory) return false;
  darwin::ItemStatus status;
  const char* const name = last->fileSystemRepresentation();
  return darwin::GetItemStatusAt(reader->descriptor(), name, darwin::FinalLink::kTarget, status) == 0 &&
         status.IsDirectory();
}

}  // namespace foundation
