// Paths as the kernel resolves them. Any thread.
#pragma once

#include <string>

namespace quill::darwin {

/// 0, or the errno. Gives the absolute path of an existing item, free of links, "." and "..", in the bytes under which
/// its components stand on disk.
int CanonicalPath(const char* path, std::string& canonical);

/// 0, or the errno: ENOENT when the current directory cannot be reached from the root. Any length.
int CurrentDirectory(std::string& path);

/// The file of the running program; empty when the kernel does not tell.
std::string ProgramPath();

}  // namespace quill::darwin
