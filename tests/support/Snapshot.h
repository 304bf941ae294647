// The items at and below a path, read with plain system calls: an independent check of copies, moves and bait.
#pragma once

#include <map>
#include <string>

namespace quill_test {

struct Item {
  /// Kind, bytes, the text of a link, the numbers of a device.
  std::string substance;
  /// Mode, owner, modification time, holes, extended attributes, and which other name in the tree is the same item.
  std::string metadata;
  /// Inode and change time: differs after any change at all.
  std::string identity;
};

/// The items by their paths relative to the root, whose own is "". Empty if nothing exists there. Follows no link.
using Snapshot = std::map<std::string, Item>;

enum class Scope { kSubstance, kMetadata, kIdentity };

Snapshot Describe(const std::string& root);

/// The differences of \p actual from \p expected within \p scope; "" if there are none.
std::string Difference(const Snapshot& expected, const Snapshot& actual, Scope scope = Scope::kMetadata);

/// True if \p expected has every item of \p actual, with the same substance.
bool IsPartOf(const Snapshot& actual, const Snapshot& expected);

}  // namespace quill_test
