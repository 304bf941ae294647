// Where users keep their things: the password database and the environment, the XDG base directories 0.8,
// and the file user-dirs.dirs (user-dirs.dirs(5)).
//
// Paths are absolute, without "/" at the end, and need not exist. Every call asks again. As with any use of the
// environment, no other thread may change it meanwhile.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/darwin/descriptors/Error.h"
#include "platform/darwin/names/PathText.h"

namespace quill::darwin {

/// The file of the running program; why the kernel does not tell, otherwise.
Error GetProgramPath(std::string& path);

/// The value of an environment variable when it is absolute, as it stands there; else null.
const char* AbsolutePathInVariable(const char* variable) noexcept;

/// $HOME when it is absolute, else the password database's entry for the real user; nullopt when neither knows.
std::optional<std::string> HomeDirectory();

/// By the password database; nullopt for a user that it does not hold.
std::optional<std::string> HomeDirectoryOfUser(const std::string& name);

/// The value of an environment variable when it is absolute, else a place in the home directory that \p findHome
/// answers; nullopt without one.
template <typename FindHome>
std::optional<std::string> BaseDirectory(const char* variable, std::string_view belowHome, FindHome findHome) {
  if (const char* const value = AbsolutePathInVariable(variable)) return std::string(WithoutTrailingSlashes(value));
  const std::optional<std::string> home = findHome();
  return home ? std::optional(Join(*home, belowHome)) : std::nullopt;
}

/// The directory that user-dirs.dirs sets for \p name ("DESKTOP" and so on), else a place in the home directory;
/// nullopt without a home directory. A directory that is switched off is the home directory.
std::optional<std::string> UserDirectory(std::string_view name, std::string_view belowHome);

}  // namespace quill::darwin
