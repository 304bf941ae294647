#include "platform/darwin/descriptors/SystemCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "platform/darwin/descriptors/Repeat.h"

namespace quill::darwin {
namespace {

void OnFileSizeLimit(int) {}

// A program that handles or ignores the signal has decided already. Only the default, which ends the process, is
// replaced, and only once: what the program sets later stays.
bool ReplaceDefaultHandler() noexcept {
  struct sigaction current {};
  if (::sigaction(SIGXFSZ, nullptr, &current) != 0) return false;
  if ((current.sa_flags & SA_SIGINFO) != 0 || current.sa_handler != SIG_DFL) return false;

  struct sigaction harmless {};
  harmless.sa_handler = OnFileSizeLimit;  // a handler, not SIG_IGN: exec resets handlers and hands down what is ignored
  harmless.sa_flags = SA_RESTART;
  return ::sigaction(SIGXFSZ, &harmless, nullptr) == 0;
}

void SurviveFileSizeLimit() noexcept { [[maybe_unused]] static const bool isReplaced = ReplaceDefaultHandler(); }

/// The item is looked up once and opened through that descriptor, so that what is waited for is a regular file.
Error OpenLeased(int directory, const char* name, int flags, FileDescriptor& opened) noexcept {
  FileDescriptor lookup;
  if (const Error error = Open(directory, name, O_PATH | (flags & O_NOFOLLOW), lookup)) return error;
  mode_t mode = 0;
  if (const Error error = GetMode(lookup.get(), "", AT_EMPTY_PATH, mode)) return error;
  if (!S_ISREG(mode)) return EAGAIN;
  const Error error = Open(AT_FDCWD, DescriptorPath(lookup.get()).text, flags & ~(O_NOFOLLOW | O_CREAT), opened);
  return error == ENOENT ? EAGAIN : error;  // /proc is not mounted
}

}  // namespace

Error FileDescriptor::Close() noexcept {
  if (number_ < 0) return {};
  // The number is free after EINTR as well, and may be another thread's by now, so there is no second try (close(2)).
  return ::close(Release()) == 0 || errno == EINTR ? Error() : Error(errno);
}

Error Open(int directory, const char* name, int flags, FileDescriptor& opened, mode_t mode) noexcept {
  int descriptor = -1;
  if (const Error error = Repeat([&] { return ::openat(directory, name, flags | O_CLOEXEC, mode); }, descriptor)) {
    return error;
  }
  opened = FileDescriptor(descriptor);
  return {};
}

Error OpenWithoutWaiting(int directory, const char* name, int flags, FileDescriptor& opened, mode_t mode) noexcept {
  flags |= O_NOCTTY;
  const Error error = Open(directory, name, flags | O_NONBLOCK, opened, mode);
  return error == EAGAIN ? OpenLeased(directory, name, flags, opened) : error;
}

// "." is the directory itself, whatever its name is by now.
Error OpenForReading(int directory, FileDescriptor& opened) noexcept {
  return Open(directory, ".", O_RDONLY | O_DIRECTORY, opened);
}

Error Duplicate(int descriptor, FileDescriptor& copy) noexcept {
  int duplicate = -1;
  if (const Error error = Repeat([&] { return ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0); }, duplicate)) return error;
  copy = FileDescriptor(duplicate);
  return {};
}

Error Read(int file, void* buffer, std::size_t size, std::size_t& got) noexcept {
  return Repeat([&] { return ::read(file, buffer, size); }, got);
}

// For FILEWrapper::Read alone, whose contract is one call.
Error ReadOnce(int file, void* buffer, std::size_t size, std::size_t& got) noexcept {
  const ssize_t result = ::read(file, buffer, size);
  if (result < 0) return errno;
  got = static_cast<std::size_t>(result);
  return {};
}

Error ReadAt(int file, void* buffer, std::size_t size, std::uint64_t position, std::size_t& got) noexcept {
  return Repeat([&] { return ::pread(file, buffer, size, static_cast<off_t>(position)); }, got);
}

Error WriteAll(int file, const void* bytes, std::size_t size, std::size_t& written) noexcept {
  SurviveFileSizeLimit();
  written = 0;
  // A full disk shows first as a short write; the next one gives the reason. Linux also takes no more than 2 GiB at a
  // time (write(2)).
  while (written < size) {
    const auto* const rest = static_cast<const std::byte*>(bytes) + written;
    std::size_t count = 0;
    if (const Error error = Repeat([&] { return ::write(file, rest, size - written); }, count)) return error;
    if (count == 0) return EIO;  // a device that takes nothing more would be asked forever
    written += count;
  }
  return {};
}

Error WriteAll(int file, const void* bytes, std::size_t size) noexcept {
  std::size_t written = 0;
  return WriteAll(file, bytes, size, written);
}

Error WriteAllAt(int file, const void* bytes, std::size_t size, std::uint64_t position) noexcept {
  SurviveFileSizeLimit();
  for (std::size_t written = 0; written < size;) {
    const auto* const rest = static_cast<const std::byte*>(bytes) + written;
    const auto offset = static_cast<off_t>(position + written);
    std::size_t count = 0;
    if (const Error error = Repeat([&] { return ::pwrite(file, rest, size - written, offset); }, count)) return error;
    if (count == 0) return EIO;  // as above
    written += count;
  }
  return {};
}

Error Seek(int file, std::int64_t offset, int whence, std::int64_t& position) noexcept {
  return Repeat([&] { return ::lseek(file, offset, whence); }, position);
}

Error Seek(int file, std::int64_t offset, int whence) noexcept {
  return Repeat([&] { return ::lseek(file, offset, whence); });
}

Error Truncate(int file, std::int64_t length) noexcept {
  SurviveFileSizeLimit();
  return Repeat([&] { return ::ftruncate(file, length); });
}

// Not fdatasync: the times of a moved file have to last as well.
Error Sync(int file) noexcept {
  return Repeat([&] { return ::fsync(file); });
}

Error SyncFileSystem(int file) noexcept {
  return Repeat([&] { return ::syncfs(file); });
}

// FICLONE shares the blocks until one of the files is written (ioctl_ficlone(2)).
Error Clone(int from, int to) noexcept {
  SurviveFileSizeLimit();
  return Repeat([&] { return ::ioctl(to, FICLONE, from); });
}

Error CopyRange(int from, std::int64_t& in, int to, std::int64_t& out, std::size_t size, std::size_t& copied) noexcept {
  SurviveFileSizeLimit();
  return Repeat([&] { return ::copy_file_range(from, &in, to, &out, size, 0); }, copied);
}

Error ReadDirectory(int directory, void* buffer, std::size_t size, std::size_t& got) noexcept {
  return Repeat([&] { return ::getdents64(directory, buffer, size); }, got);
}

Error MakeDirectory(int directory, const char* name, mode_t mode) noexcept {
  return Repeat([&] { return ::mkdirat(directory, name, mode); });
}

// The call has the text first and then the place, this function the place first like all the others.
Error MakeLink(int directory, const char* name, const char* target) noexcept {
  return Repeat([&] { return ::symlinkat(target, directory, name); });
}

// FIFOs and sockets anybody may make, devices only root (mknod(2)).
Error MakeNode(int directory, const char* name, mode_t mode, dev_t device) noexcept {
  return Repeat([&] { return ::mknodat(directory, name, mode, device); });
}

// A text that fills the buffer may have been cut off: the kernel does not say so (readlink(2)).
Error ReadLink(int directory, const char* name, char* buffer, std::size_t size, std::size_t& length) noexcept {
  return Repeat([&] { return ::readlinkat(directory, name, buffer, size); }, length);
}

Error Link(int fromDirectory, const char* from, int toDirectory, const char* to, int flags) noexcept {
  return Repeat([&] { return ::linkat(fromDirectory, from, toDirectory, to, flags); });
}

Error LinkOpenFile(int file, int toDirectory, const char* to) noexcept {
  const Error error = Link(file, "", toDirectory, to, AT_EMPTY_PATH);
  if (error != ENOENT && error != EPERM) return error;
  // Older kernels ask for a capability.
  return Link(AT_FDCWD, DescriptorPath(file).text, toDirectory, to, AT_SYMLINK_FOLLOW);
}

// A removal that was interrupted has not happened, so that the second call cannot meet another item.
Error Unlink(int directory, const char* name, int flags) noexcept {
  return Repeat([&] { return ::unlinkat(directory, name, flags); });
}

Error Unlink(const char* path) noexcept { return Unlink(AT_FDCWD, path); }

Error Rename(int fromDirectory, const char* from, int toDirectory, const char* to, unsigned flags) noexcept {
  return Repeat([&] {
    // Without flags the older call does the same, on kernels and in sandboxes, too, that do not have renameat2.
    if (flags == 0) return ::renameat(fromDirectory, from, toDirectory, to);
    return ::renameat2(fromDirectory, from, toDirectory, to, flags);
  });
}

Error MakeTemporaryFile(std::string& pathTemplate, FileDescriptor& opened) {
  std::string path = pathTemplate;
  int descriptor = -1;
  const auto make = [&] {
    pathTemplate.copy(path.data(), path.size());  // an attempt that fails may have filled the end all the same
    return ::mkostemp(path.data(), O_CLOEXEC);
  };
  if (const Error error = Repeat(make, descriptor)) return error;
  pathTemplate.swap(path);
  opened = FileDescriptor(descriptor);
  return {};
}

}  // namespace quill::darwin
