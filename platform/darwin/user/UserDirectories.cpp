#include "platform/darwin/user/UserDirectories.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <vector>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/PathText.h"
#include "platform/darwin/user/UserDirectoriesFile.h"

namespace quill::darwin {
namespace {

/// More than any sensible user-dirs.dirs holds.
constexpr std::size_t kLargestFile = 1024 * 1024;

const char* IfAbsolute(const char* path) noexcept { return path && *path == '/' ? path : nullptr; }

std::optional<std::string> AbsoluteOrNothing(const char* path) {
  return IfAbsolute(path) ? std::optional(std::string(WithoutTrailingSlashes(path))) : std::nullopt;
}

/// The home directory in the entry that \p lookUp (one of getpwnam_r and getpwuid_r) finds.
template <typename LookUp>
std::optional<std::string> HomeInPasswordDatabase(LookUp lookUp) {
  // Most entries fit. The size that sysconf suggests is neither a limit nor known everywhere (getpwnam_r(3)), so the
  // buffer grows.
  std::vector<char> strings(1024);
  for (;;) {
    passwd entry;
    passwd* found = nullptr;
    const int error = lookUp(&entry, strings.data(), strings.size(), &found);
    if (error == EINTR) continue;
    if (error != ERANGE) return found ? AbsoluteOrNothing(found->pw_dir) : std::nullopt;
    strings.resize(strings.size() * 2);
  }
}

/// Empty when the file cannot be read, or is no file: a FIFO is not waited for.
std::string ContentsOf(const std::string& path) {
  std::string contents;
  FileDescriptor file;
  // The file is the user's, and may be anything.
  if (Open(AT_FDCWD, path.c_str(), O_RDONLY | O_NONBLOCK, file)) return contents;  // as if it were not there
  char block[4096];
  std::size_t got = 0;
  while (contents.size() < kLargestFile && !Read(file.get(), block, sizeof block, got) && got > 0) {
    contents.append(block, got);
  }
  return contents;
}

}  // namespace

Error GetProgramPath(std::string& path) {
  std::array<char, PATH_MAX> text;
  std::size_t length = 0;
  // Not the first argument, which is whatever the caller of exec has chosen.
  if (const Error error = ReadLink(AT_FDCWD, "/proc/self/exe", text.data(), text.size(), length)) return error;
  path.assign(text.data(), length);
  return {};
}

const char* AbsolutePathInVariable(const char* variable) noexcept { return IfAbsolute(std::getenv(variable)); }

std::optional<std::string> HomeDirectory() {
  if (auto home = AbsoluteOrNothing(std::getenv("HOME"))) return home;
  // The real user: a program with the set-user-id bit still works for the person who started it.
  return HomeInPasswordDatabase([](auto... out) { return ::getpwuid_r(::getuid(), out...); });
}

std::optional<std::string> HomeDirectoryOfUser(const std::string& name) {
  return HomeInPasswordDatabase([&name](auto... out) { return ::getpwnam_r(name.c_str(), out...); });
}

std::optional<std::string> UserDirectory(std::string_view name, std::string_view belowHome) {
  const auto home = HomeDirectory();
  if (!home) return std::nullopt;
  const auto configuration = BaseDirectory("XDG_CONFIG_HOME", ".config", HomeDirectory);
  if (!configuration) return std::nullopt;
  const std::string file = ContentsOf(Join(*configuration, "user-dirs.dirs"));
  // "$HOME" is replaced in front of a "/", so the root as a home directory is the empty text.
  auto configured = DirectoryInUserDirectoriesFile(file, name, *home == "/" ? "" : *home);
  return configured ? std::string(WithoutTrailingSlashes(*configured)) : Join(*home, belowHome);
}

}  // namespace quill::darwin
