// Trees to work on.
#pragma once

#include <string>

namespace quill_test {

/// What a file system, or each of two, holds and shows.
struct Abilities {
  bool attributes;
  bool accessLists;
  bool hardLinks;
};

/// Leaves nothing in the directory that it tries them in.
Abilities AbilitiesOf(const std::string& directory);

/// A small tree with one of everything that an operation must bring along: an access list, another name for a file,
/// links, a FIFO, holes, another owner, set-user-id, shut and read-only directories, times of their own.
void MakeSampleTree(const std::string& root, Abilities abilities);

/// The same with a file of many blocks, names that are not text, twins (one name in two normalizations), links that
/// lead outside and nowhere but to themselves, a socket and an endless device.
void MakeMixedTree(const std::string& root);

/// Gives another user access to \p path by a list, system.posix_acl_access or _default; false where there are none.
bool GrantAccess(const std::string& path, const char* list);

/// Removes a tree whatever its permissions; follows no link.
void RemoveAll(const std::string& path);

}  // namespace quill_test
