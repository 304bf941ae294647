#include "platform/darwin/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/darwin/FileSizeLimit.h"
#include "platform/darwin/ItemStatus.h"
#include "platform/darwin/NameLookup.h"
#include "platform/darwin/Retry.h"

namespace darwin {
namespace {

// Without O_NONBLOCK, opening a FIFO waits for its other end; regular files do not look at it.
constexpr int kAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr mode_t kReadableAndWritable = 0666;

FileDescriptor Open(const char* path, int flags) {
  return FileDescriptor(
      OnItem(path, [flags](const char* name) { return Retry([=] { return ::open(name, flags | kAlways); }); }));
}

bool MayBePositioned(const ItemStatus& status) noexcept {
  return !S_ISDIR(status.mode) && !S_ISFIFO(status.mode) && !S_ISSOCK(status.mode);
}

bool IsDirectory(int descriptor) noexcept {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

FileDescriptor OpenPositionable(const char* path, int access, long long& end) {
  // Asked before opening: even an open that is given up at once would be felt at the other end of a FIFO.
  ItemStatus status;
  int error = GetItemStatus(path, FinalLink::kTarget, status);
  if (error == 0 && !MayBePositioned(status)) error = ESPIPE;
  if (error != 0) {
    errno = error;
    return {};
  }

  if (access != O_RDONLY) SurviveFileSizeLimit();
  FileDescriptor file = Open(path, access);
  if (!file) return file;
  const off_t found = ::lseek(file.get(), 0, SEEK_END);
  if (found < 0) return {};
  // An end that is not where it was may be that of a directory, put there meanwhile.
  if (found != status.size && IsDirectory(file.get())) {
    errno = EISDIR;
    return {};
  }
  end = found;
  return file;
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

}  // namespace darwin
