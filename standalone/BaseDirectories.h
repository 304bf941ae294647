// The base directories in which programs keep their own things (XDG base directories 0.8), and the name
// under which this program has its share of them.
#pragma once

#include <optional>
#include <string>

#include "host/CoreFileManager.h"

namespace quill {

/// $XDG_DATA_HOME or $XDG_STATE_HOME when it is absolute, else its usual place in the home directory, which is asked
/// through the table; nullopt without one.
std::optional<std::string> DataDirectory(CoreFileManager& manager);
std::optional<std::string> StateDirectory(CoreFileManager& manager);

/// The program's own directory in a base directory, created when it is missing. \p directory is written on success.
bool EnsureProgramDirectory(CoreFileManager& manager, const std::optional<std::string>& base,
                            QuillFileString& directory);

/// The file of the running program, split into its directory and its name; false when that is not known.
bool SplitProgramPath(QuillFileString& directory, QuillFileString& name);

/// A path string of \p text.
QuillFileString PathFrom(const std::string& text);

/// The last component of a path; empty when there is none.
std::string LeafOf(const QuillFileString& path);

}  // namespace quill
