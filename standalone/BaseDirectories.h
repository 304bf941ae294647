// The base directories in which programs keep their own things (XDG base directories 0.8), and the name
// under which this program has its share of them.
#pragma once

#include "host/CoreFileManager.h"

namespace quill {

/// One of the base directories: the value of an environment variable, if that is absolute, else a place in the home
/// directory.
struct BaseDirectory {
  const char* variable;
  const char* belowHome;
};

constexpr BaseDirectory kDataDirectory{"XDG_DATA_HOME", ".local/share"};
constexpr BaseDirectory kStateDirectory{"XDG_STATE_HOME", ".local/state"};

/// False when there is no home directory, \p directory untouched.
bool FindBaseDirectory(CoreFileManager& manager, const BaseDirectory& base, QuillFileString& directory);

/// The program's own directory in a base directory, created when it is missing. \p directory is written on success.
bool EnsureProgramDirectory(CoreFileManager& manager, const BaseDirectory& base, QuillFileString& directory);

/// The file of the running program, split into its directory and its name; false when that is not known.
bool SplitProgramPath(QuillFileString& directory, QuillFileString& name);

/// The last component of a path; empty when there is none.
QuillFileString LeafOf(const QuillFileString& path);

}  // namespace quill
