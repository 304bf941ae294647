// Paths as the kernel resolves them. Any thread.
#pragma once

#include <string>

namespace darwin {

/// 0, or the errno. Gives the absolute path of an existing item, free of links, "." and "..", in the bytes under which
/// its components stand on disk.
int CanonicalPath(const char* path, std::string& canonical);

/// The file of the running program; empty when the kernel does not tell.
std::string ProgramPath();

}  // namespace darwin
