#include "platform/darwin/user/UserDirectories.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/user/UserDirectoriesFile.h"

namespace quill::darwin {
namespace {

/// More than any sensible user-dirs.dirs holds.
constexpr std::size_t kLargestFile = 1024 * 1024;

std::string WithoutTrailingSlashes(std::string path) {
  path.erase(std::max<std::size_t>(path.find_last_not_of('/') + 1, 1));  // the root keeps its own
  return path;
}

const char* IfAbsolute(const char* path) noexcept { return path && *path == '/' ? path : nullptr; }

std::optional<std::string> AbsoluteOrNothing(const char* path) {
  return IfAbsolute(path) ? std::optional(WithoutTrailingSlashes(path)) : std::nullopt;
}

std::string InDirectory(const std::string& directory, std::string_view relative) {
  std::string path = directory == "/" ? std::string() : directory;
  return path.append("/").append(relative);
}

/// The home directory in the entry that \p lookUp (one of getpwnam_r and getpwuid_r) finds.
template <typename LookUp>
std::optional<std::string> HomeInPasswordDatabase(LookUp lookUp) {
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
  const FileDescriptor file(Retry([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }));
  std::string contents;
  if (!file) return contents;
  char block[4096];
  while (contents.size() < kLargestFile) {
    const ssize_t got = Retry([&] { return ::read(file.get(), block, sizeof block); });
    if (got <= 0) break;
    contents.append(block, static_cast<std::size_t>(got));
  }
  return contents;
}

}  // namespace

const char* AbsolutePathInVariable(const char* variable) noexcept { return IfAbsolute(std::getenv(variable)); }

std::optional<std::string> HomeDirectory() {
  if (auto home = AbsoluteOrNothing(std::getenv("HOME"))) return home;
  return HomeInPasswordDatabase([](auto... out) { return ::getpwuid_r(::getuid(), out...); });
}

std::optional<std::string> HomeDirectoryOfUser(const std::string& name) {
  return HomeInPasswordDatabase([&name](auto... out) { return ::getpwnam_r(name.c_str(), out...); });
}

std::optional<std::string> BaseDirectory(const char* variable, std::string_view belowHome) {
  if (auto directory = AbsoluteOrNothing(std::getenv(variable))) return directory;
  const auto home = HomeDirectory();
  return home ? std::optional(InDirectory(*home, belowHome)) : std::nullopt;
}

std::optional<std::string> UserDirectory(std::string_view name, std::string_view belowHome) {
  const auto home = HomeDirectory();
  if (!home) return std::nullopt;
  const auto configuration = BaseDirectory("XDG_CONFIG_HOME", ".config");
  if (!configuration) return std::nullopt;
  const std::string file = ContentsOf(InDirectory(*configuration, "user-dirs.dirs"));
  auto configured = DirectoryInUserDirectoriesFile(file, name, *home == "/" ? "" : *home);
  return configured ? WithoutTrailingSlashes(std::move(*configured)) : InDirectory(*home, belowHome);
}

}  // namespace quill::darwin
