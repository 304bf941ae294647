// Copies and removes two-level trees of plain files with only the system calls that such a tree needs: the least that
// the same result can cost. Every call is checked. Other trees are not supported.
#pragma once

#include <cstddef>

namespace bench {

/// Copies directories and files with mode and times; files by open, read, write, and a check for extended attributes.
void CopyTreeByBareCalls(const char* from, const char* to);

/// Reads each directory once and removes entry after entry.
void RemoveTreeByBareCalls(const char* path);

/// Copies one file in pieces of \p pieceSize bytes, with its times and its holes.
void CopyFileByBareCalls(const char* from, const char* to, std::size_t pieceSize);

/// Creates one level after another and asks for the metadata of each new one.
void EnsureByBareCalls(const char* path);

}  // namespace bench
