#include "platform/foundation/NSData.h"

#include "platform/darwin/paths/OpenFile.h"

namespace quill::foundation {

bool NSData::writeToFile(const NSString* path) const {
  if (!path) return false;
  auto file = darwin::CreateFile(path->fileSystemRepresentation(), darwin::ExistingContents::kEmpty);
  if (!file) return false;
  std::size_t written = 0;
  if (darwin::WriteAll(file.get(), bytes, length, written) != 0) return false;
  return file.Close() == 0;
}

}  // namespace quill::foundation
