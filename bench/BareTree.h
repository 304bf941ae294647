// Copying and removing two-level trees of plain files with nothing but the system calls that such a tree needs: the
// least that anybody can pay for the same result. They check every call and are of no use for any other tree.
#pragma once

#include <cstddef>

namespace bench {

/// Directories and files with mode and times; files by open, read, write, and a look for extended attributes.
void CopyTreeByBareCalls(const char* from, const char* to);

/// Reads each directory once and removes entry after entry.
void RemoveTreeByBareCalls(const char* path);

/// One file in pieces of \p pieceSize bytes, with its times; holes are found and kept.
void CopyFileByBareCalls(const char* from, const char* to, std::size_t pieceSize);

/// Makes one level after another, and looks at each as it is made.
void EnsureByBareCalls(const char* path);

}  // namespace bench
