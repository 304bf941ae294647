// The calls that ask and change what an item says about itself, and those about the process.
#include <fcntl.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "platform/darwin/descriptors/Repeat.h"
#include "platform/darwin/descriptors/SystemCalls.h"

namespace quill::darwin {
namespace {

struct Free {
  void operator()(char* text) const noexcept { std::free(text); }
};
using AllocatedText = std::unique_ptr<char, Free>;

}  // namespace

Error GetStatx(int directory, const char* name, int flags, unsigned mask, struct statx& status) noexcept {
  // An automount point must not be mounted by a question, which could take as long as its server does. stat(2) does not
  // mount either.
  return Repeat([&] { return ::statx(directory, name, flags | AT_NO_AUTOMOUNT, mask, &status); });
}

// fstatat where the mode is enough: it does less than statx, and every question for existence comes here.
Error GetMode(int directory, const char* name, int flags, mode_t& mode) noexcept {
  struct stat status;
  if (const Error error = Repeat([&] { return ::fstatat(directory, name, &status, flags); })) return error;
  mode = status.st_mode;
  return {};
}

Error CheckAccess(int directory, const char* name, int mode) noexcept {
  // For the effective user, whose rights an open would use; plain access(2) asks for the real one.
  return Repeat([&] { return ::faccessat(directory, name, mode, AT_EACCESS); });
}

Error GetFileSystem(int descriptor, struct statfs& status) noexcept {
  return Repeat([&] { return ::fstatfs(descriptor, &status); });
}

Error GetVolume(const char* path, struct statvfs& status) noexcept {
  return Repeat([&] { return ::statvfs(path, &status); });
}

// A descriptor that is open for lookup alone is EBADF to fchmod and to the calls for attributes (open(2), O_PATH). Its
// path in /proc leads to that very item, whatever its name is by now.
Error ChangeMode(OpenItem item, mode_t mode) noexcept {
  return Repeat([&] {
    return item.forLookupAlone ? ::chmod(DescriptorPath(item.descriptor).text, mode) : ::fchmod(item.descriptor, mode);
  });
}

// One call since Linux 6.6, where fchmodat2 takes the flag; before, the C library goes the long way.
Error ChangeModeOf(int directory, const char* name, mode_t mode) noexcept {
  constexpr long kFchmodat2 = 452;  // the same number on every architecture that Debian supports
  const Error error = Repeat([&] { return ::syscall(kFchmodat2, directory, name, mode, AT_SYMLINK_NOFOLLOW); });
  if (error != ENOSYS) return error;
  return Repeat([&] { return ::fchmodat(directory, name, mode, AT_SYMLINK_NOFOLLOW); });
}

// With an empty name the call takes any descriptor, also of a link (Linux 2.6.39).
Error ChangeOwner(OpenItem item, uid_t owner, gid_t group) noexcept {
  return Repeat([&] { return ::fchownat(item.descriptor, "", owner, group, AT_EMPTY_PATH); });
}

Error SetTimes(OpenItem item, const std::timespec (&times)[2]) noexcept {
  return Repeat([&] {
    // utimensat takes an empty name since Linux 5.8 only, so other descriptors go the older way.
    return item.forLookupAlone ? ::utimensat(item.descriptor, "", times, AT_EMPTY_PATH)
                               : ::futimens(item.descriptor, times);
  });
}

Error SetTimesOf(int directory, const char* name, const std::timespec (&times)[2]) noexcept {
  return Repeat([&] { return ::utimensat(directory, name, times, 0); });
}

Error ListAttributes(OpenItem item, char* names, std::size_t size, std::size_t& length) noexcept {
  const auto list = [&] {
    return item.forLookupAlone ? ::listxattr(DescriptorPath(item.descriptor).text, names, size)
                               : ::flistxattr(item.descriptor, names, size);
  };
  return Repeat(list, length);
}

Error GetAttribute(OpenItem item, const char* name, void* value, std::size_t size, std::size_t& length) noexcept {
  const auto get = [&] {
    return item.forLookupAlone ? ::getxattr(DescriptorPath(item.descriptor).text, name, value, size)
                               : ::fgetxattr(item.descriptor, name, value, size);
  };
  return Repeat(get, length);
}

Error SetAttribute(OpenItem item, const char* name, const void* value, std::size_t size) noexcept {
  return Repeat([&] {
    return item.forLookupAlone ? ::setxattr(DescriptorPath(item.descriptor).text, name, value, size, 0)
                               : ::fsetxattr(item.descriptor, name, value, size, 0);
  });
}

Error RemoveAttribute(OpenItem item, const char* name) noexcept {
  return Repeat([&] {
    return item.forLookupAlone ? ::removexattr(DescriptorPath(item.descriptor).text, name)
                               : ::fremovexattr(item.descriptor, name);
  });
}

// By a path these follow a final link, as everything does that asks about an item by its path.
Error GetAttributeOf(const char* path, const char* name, void* value, std::size_t size, std::size_t& length) noexcept {
  return Repeat([&] { return ::getxattr(path, name, value, size); }, length);
}

Error SetAttributeOf(const char* path, const char* name, const void* value, std::size_t size) noexcept {
  return Repeat([&] { return ::setxattr(path, name, value, size, 0); });
}

Error RemoveAttributeOf(const char* path, const char* name) noexcept {
  return Repeat([&] { return ::removexattr(path, name); });
}

// Whose rights the kernel looks at, and who owns what is made.
uid_t EffectiveUser() noexcept { return ::geteuid(); }

Error ChangeCurrentDirectory(const char* path) noexcept {
  return Repeat([&] { return ::chdir(path); });
}

Error GetCurrentDirectory(std::string& path) {
  // glibc measures and allocates; a buffer of PATH_MAX would be too short for deep directories.
  const AllocatedText text(::getcwd(nullptr, 0));
  if (!text) return errno;
  if (*text != '/') return ENOENT;  // "(unreachable)", from before the process's root changed
  path = text.get();
  return {};
}

Error ResolvePath(const char* path, std::string& resolved) {
  AllocatedText text;
  const auto resolve = [&] {
    // Allocated by the library, since no size is known to be enough (realpath(3)).
    text.reset(::realpath(path, nullptr));
    return text ? 0 : -1;
  };
  if (const Error error = Repeat(resolve)) return error;
  resolved = text.get();
  return {};
}

Error ReopenStream(const char* path, const char* mode, std::FILE* stream) noexcept {
  return std::freopen(path, mode, stream) ? Error() : Error(errno);  // the stream is closed by now: no second try
}

Error FillWithRandom(void* bytes, std::size_t size) noexcept {
  std::size_t filled = 0;
  if (const Error error = Repeat([&] { return ::getrandom(bytes, size, 0); }, filled)) return error;
  return filled == size ? Error() : Error(EIO);  // 256 bytes and fewer always come at once
}

// The path of a removed item ends in " (deleted)" (proc(5)): whoever uses it as a path has to look.
Error GetPathOf(int descriptor, std::string& path) {
  constexpr std::size_t kLongest = 4096;  // the kernel's answer is as long as a page at most (proc(5))
  std::string text(kLongest, '\0');
  std::size_t length = 0;
  if (const Error error = ReadLink(AT_FDCWD, DescriptorPath(descriptor).text, text.data(), text.size(), length)) {
    return error;
  }
  text.resize(length);
  path.swap(text);
  return {};
}

}  // namespace quill::darwin
