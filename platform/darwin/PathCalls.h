// The POSIX calls that the layer makes by path, answered as the Apple platforms answer them: a name is found in any
// normalization, descriptors are closed on exec, and unlink of a directory is EPERM.
//
// Each answers as its namesake does: -1 (null for mkdtemp) with errno on failure. A null path fails with EFAULT.
#pragma once

#include <cstddef>
#include <cstdio>

#include "host/Export.h"

namespace darwin {

QUILL_EXPORT int unlink(const char* path);
QUILL_EXPORT int rmdir(const char* path);
/// lstat, as far as the layer looks at it.
QUILL_EXPORT bool IsSymbolicLink(const char* path);
/// \p target is stored as it is.
QUILL_EXPORT int symlink(const char* target, const char* linkPath);
QUILL_EXPORT long readlink(const char* path, char* buffer, std::size_t size);
/// The descriptor is the caller's.
QUILL_EXPORT int mkstemp(char* pathTemplate);
QUILL_EXPORT char* mkdtemp(char* pathTemplate);
QUILL_EXPORT int close(int descriptor);
/// One call, never repeated.
QUILL_EXPORT long read(int descriptor, void* buffer, std::size_t count);
/// C11, 7.21.5.4: the stream is closed when the file cannot be opened. A null path leaves the stream alone.
QUILL_EXPORT std::FILE* freopen(const char* path, const char* mode, std::FILE* stream);

}  // namespace darwin
