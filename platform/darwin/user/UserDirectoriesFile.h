// The text of user-dirs.dirs: lines of the form XDG_NAME_DIR="$HOME/place" or XDG_NAME_DIR="/place", in which a
// backslash makes the character after it an ordinary one. No other form counts (user-dirs.dirs(5)).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quill::darwin {

/// The directory that the last line of the right form sets for \p name ("DESKTOP"); nullopt when there is none.
std::optional<std::string> DirectoryInUserDirectoriesFile(std::string_view file, std::string_view name,
                                                          std::string_view home);

}  // namespace quill::darwin
