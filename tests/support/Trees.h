// Trees to work on, and a way to see whether two of them are the same.
#pragma once

#include <map>
#include <string>

namespace quill_test {

/// Everything that a copy keeps, by path relative to \p root: type, permissions, owner, times, contents, extended
/// attributes, targets of links, and which names are links to one file.
std::map<std::string, std::string> Describe(const std::string& root);

/// A directory with one of each: a file with attributes, another name for it, holes, names that are not text, links
/// that dangle and that lead outside, a FIFO, a socket, a read-only directory, times long ago.
void MakeMixedTree(const std::string& root);

/// \p levels directories, one in the other, each with a file in it.
void MakeDeepTree(const std::string& root, int levels);

}  // namespace quill_test
