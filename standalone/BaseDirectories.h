// The base directories in which programs keep their own files (XDG base directories 0.8), and the name of this
// program's directory in them.
#pragma once

#include <optional>
#include <string>

#include "host/CoreFileManager.h"
#include "platform/darwin/descriptors/Error.h"

namespace quill {

/// $XDG_DATA_HOME or $XDG_STATE_HOME if it is absolute, else the default in the home directory, which is asked for
/// through the table; nullopt without a home directory.
std::optional<std::string> DataDirectory(CoreFileManager& manager);
std::optional<std::string> StateDirectory(CoreFileManager& manager);

/// Gives the program's own directory in a base directory, and creates it if it is missing. \p directory is written on
/// success. The running operation learns the cause of a failure.
bool EnsureProgramDirectory(CoreFileManager& manager, const std::optional<std::string>& base,
                            QuillFileString& directory);

/// Gives the directory and the name of the running program's file.
darwin::Error SplitProgramPath(QuillFileString& directory, QuillFileString& name);

/// A path string of \p text.
QuillFileString PathFrom(const std::string& text);

/// The last component of a path; empty when there is none.
std::string LeafOf(const QuillFileString& path);

}  // namespace quill
