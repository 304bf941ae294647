// Trees to work on.
#pragma once

#include <string>

namespace quill_test {

/// What a file system supports, or two file systems both support.
struct Abilities {
  bool attributes;
  bool accessLists;
  bool hardLinks;
};

/// Tries each in the directory and leaves nothing there.
Abilities AbilitiesOf(const std::string& directory);

/// A small tree with one of everything that an operation must preserve: an access list, a hard link, links, a FIFO,
/// holes, another owner, a set-user-id bit, directories that may not be entered or written to, distinct times.
void MakeSampleTree(const std::string& root, Abilities abilities);

/// The same with a file of many blocks, names that are not text, twins (one name in two normalizations), links that
/// lead outside the tree, nowhere and to themselves, a socket and an endless device.
void MakeMixedTree(const std::string& root);

/// Gives another user access to \p path by the list system.posix_acl_access or _default; false if the file system has
/// no lists.
bool GrantAccess(const std::string& path, const char* list);

/// Removes a tree whatever its permissions; follows no link.
void RemoveAll(const std::string& path);

}  // namespace quill_test
