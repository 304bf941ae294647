#include "platform/darwin/paths/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "platform/darwin/descriptors/FileSizeLimit.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {
namespace {

// Without O_NONBLOCK, opening a FIFO waits for its other end; regular files do not look at it.
constexpr int kAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr mode_t kReadableAndWritable = 0666;

FileDescriptor Open(const char* path, int flags) {
  return FileDescriptor(
      OnItem(path, [flags](const char* name) { return Retry([=] { return ::open(name, flags | kAlways); }); }));
}

bool IsDirectory(int descriptor) noexcept {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

FileDescriptor OpenPositionable(const char* path, int access, long long& end) {
  if (access != O_RDONLY) SurviveFileSizeLimit();
  FileDescriptor file = Open(path, access);
  if (!file) return file;
  // For writing, the kernel opens no directory itself.
  if (access == O_RDONLY && IsDirectory(file.get())) {
    errno = EISDIR;
    return {};
  }
  end = ::lseek(file.get(), 0, SEEK_END);
  return end < 0 ? FileDescriptor() : std::move(file);
}

FileDescriptor CreateFile(const char* path, ExistingContents contents) {
  SurviveFileSizeLimit();
  const auto name = PathForCreation(path);
  const int flags = O_WRONLY | O_CREAT | (contents == ExistingContents::kEmpty ? O_TRUNC : 0) | kAlways;
  return FileDescriptor(Retry([&] { return ::open(name.c_str(), flags, kReadableAndWritable); }));
}

FileDescriptor OpenDirectory(const char* path) { return Open(path, O_RDONLY | O_DIRECTORY); }

int WriteAll(int descriptor, const void* bytes, std::size_t length, std::size_t& written) noexcept {
  written = 0;
  while (written < length) {
    const void* const rest = static_cast<const char*>(bytes) + written;
    const ssize_t moved = Retry([&] { return ::write(descriptor, rest, length - written); });
    if (moved < 0) return errno;
    if (moved == 0) return EIO;  // a device that takes nothing more would be asked forever
    written += static_cast<std::size_t>(moved);
  }
  return 0;
}

}  // namespace quill::darwin
