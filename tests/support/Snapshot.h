// What stands at a path, item by item, read with plain calls: the independent judge of copies, moves and bait.
#pragma once

#include <map>
#include <string>

namespace quill_test {

struct Item {
  /// Kind, bytes, the text of a link, the numbers of a device.
  std::string substance;
  /// Mode, owner, modification time, holes, extended attributes, which other name of the tree is the same item.
  std::string metadata;
  /// Inode and change time: differs after any change at all.
  std::string identity;
};

/// By path relative to the root, whose own is "". Empty when nothing stands there. Follows no link.
using Snapshot = std::map<std::string, Item>;

enum class Scope { kSubstance, kMetadata, kIdentity };

Snapshot Describe(const std::string& root);

/// What \p actual has more, less or otherwise, as far as \p scope looks; "" when nothing.
std::string Difference(const Snapshot& expected, const Snapshot& actual, Scope scope = Scope::kMetadata);

/// Every item of \p actual stands in \p expected too, with the same substance.
bool IsPartOf(const Snapshot& actual, const Snapshot& expected);

}  // namespace quill_test
