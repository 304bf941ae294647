// What is asked of whole directories beyond their entries. Each answers 0 or the errno; names are looked up as
// NameLookup says. Any thread, but the current directory belongs to the whole process.
#pragma once

namespace quill::darwin {

/// Makes one level, open to everyone but for the process's file creation mask.
int MakeDirectory(const char* path);

/// Writes \p empty only on success.
int IsEmptyDirectory(const char* path, bool& empty);

int SetCurrentDirectory(const char* path);

/// Makes sure that \p path is a directory that belongs to the effective user; a new one is closed to everybody else and
/// open to its owner, whatever the umask says. What stands there already is accepted only when it is just that (never
/// through a link), else EACCES.
int EnsureOwnDirectory(const char* path);

/// The same, and a directory that stands there already must be closed to everybody else.
int EnsurePrivateDirectory(const char* path);

/// The effective user's number, as it stands in names.
unsigned EffectiveUser() noexcept;

}  // namespace quill::darwin
