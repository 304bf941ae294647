// Making items at a path. A new item meets what stands there under another form of its name (NameLookup). EFAULT for a
// null path. Any thread.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "platform/darwin/descriptors/FileDescriptor.h"

namespace quill::darwin {

enum class ExistingContents { kKeep, kEmpty };

/// Opens a new, empty file for writing, or one that exists. Open to everyone but for the umask.
Error CreateFile(const char* path, ExistingContents contents, FileDescriptor& file);

/// Creates a file that only its owner may read, with these contents, or nothing. EEXIST when anything stands in the
/// open directory under the name or an equivalent of it, a dangling link included.
Error CreateExclusively(int directory, const std::string& name, std::string_view contents);

/// Makes one level, open to everyone but for the umask.
Error MakeDirectory(const char* path);

/// \p target is stored as it is.
Error MakeSymbolicLink(const char* target, const char* path);

/// Replaces the XXXXXX at the end of \p pathTemplate so that the path is a new item's, with these permissions whatever
/// the umask says; where they cannot be had, with what the umask left of them (0600 for a file). Where the template's
/// directory exists only in another form, the item is made there, and found by the template's own text.
Error MakeTemporaryFileAt(std::string& pathTemplate, mode_t permissions, FileDescriptor& file);
Error MakeTemporaryDirectoryAt(std::string& pathTemplate, mode_t permissions);

/// Makes sure that \p name in an open directory is a directory that belongs to the effective user, and opens it for
/// lookup; a new one is closed to everybody else and open to its owner, whatever the umask says. One that is there
/// already is accepted only when it is just that (never through a link), else EACCES.
Error EnsureOwnDirectory(int directory, const char* name, FileDescriptor& opened);

/// The same for a path, and a directory that is there already must be closed to everybody else.
Error EnsurePrivateDirectory(const char* path);

/// Sends \p stream to a file, as freopen(3) does with \p mode: it is closed when that fails. A null path leaves the
/// stream alone.
Error ReopenStreamAt(const char* path, const char* mode, std::FILE* stream);

}  // namespace quill::darwin
