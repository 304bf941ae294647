// The POSIX calls that the layer makes by path, answered as the Apple platforms answer them: a name is found in any
// normalization, descriptors are closed on exec, and unlink of a directory is EPERM.
//
// Each answers as its namesake does: -1 (null for mkdtemp) with errno on failure. A null path fails with EFAULT.
#pragma once

#include <cstddef>
#include <cstdio>

namespace quill::darwin {

int unlink(const char* path);
int rmdir(const char* path);
/// lstat, as far as the layer looks at it.
bool IsSymbolicLink(const char* path);
/// \p target is stored as it is.
int symlink(const char* target, const char* linkPath);
long readlink(const char* path, char* buffer, std::size_t size);
/// The descriptor is the caller's.
int mkstemp(char* pathTemplate);
char* mkdtemp(char* pathTemplate);
int close(int descriptor);
/// One call, never repeated.
long read(int descriptor, void* buffer, std::size_t count);
/// C11, 7.21.5.4: the stream is closed when the file cannot be opened. A null path leaves the stream alone.
std::FILE* freopen(const char* path, const char* mode, std::FILE* stream);

}  // namespace quill::darwin
