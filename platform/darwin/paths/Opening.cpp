// Nothing is asked before the open: what was opened is looked at, so that it cannot be exchanged in between.
#include "platform/darwin/paths/Opening.h"

#include <fcntl.h>

#include <utility>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

Error OpenExisting(const char* path, int flags, FileDescriptor& opened) {
  return OnPath(path, [&](const char* name) { return OpenWithoutWaiting(AT_FDCWD, name, flags, opened); });
}

/// For writing, the kernel opens no directory itself.
Error RefuseDirectory(const FileDescriptor& file, int access) {
  mode_t mode = 0;
  if (access != O_RDONLY) return {};
  if (const Error error = GetMode(file.get(), "", AT_EMPTY_PATH, mode)) return error;
  return S_ISDIR(mode) ? EISDIR : 0;
}

}  // namespace

Error OpenPositionable(const char* path, int access, FileDescriptor& file, std::int64_t& end) {
  FileDescriptor opened;
  if (const Error error = OpenExisting(path, access, opened)) return error;
  if (const Error error = RefuseDirectory(opened, access)) return error;
  // Refuses FIFOs and sockets (ESPIPE), which no file object can serve.
  if (const Error error = Seek(opened.get(), 0, SEEK_END, end)) return error;
  file = std::move(opened);
  return {};
}

Error OpenDirectory(const char* path, FileDescriptor& directory) {
  return OpenExisting(path, O_RDONLY | O_DIRECTORY, directory);
}

Error IsEmptyDirectory(const char* path, bool& empty) {
  FileDescriptor directory;
  if (const Error error = OpenDirectory(path, directory)) return error;
  DirectoryReader reader(std::move(directory));
  // One entry is enough; the rest is not read.
  const bool hasEntry = reader.Next() != nullptr;
  if (!hasEntry && reader.error()) return reader.error();
  empty = !hasEntry;
  return {};
}

}  // namespace quill::darwin
