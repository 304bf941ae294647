// Whether one item holds another, whatever their paths look like.
#pragma once

#include "platform/darwin/descriptors/ItemStatus.h"

namespace quill::darwin {

/// \p contains is true when both paths lead to the same item, or \p container leads to a directory that \p item lies
/// in, at any depth: through ".", "..", links, hard links, bind mounts and other normalizations, compared by device and
/// inode. An item that does not exist holds nothing and lies nowhere. When a question cannot be answered: why; the
/// caller must then refuse whatever would be wrong if it were true.
Error ItemContains(const char* container, const char* item, bool& contains);

/// Whether the way to \p path goes through the symbolic link \p link, as a component or as one of a link's text. False
/// for a path that leads nowhere.
Error PathLeadsThroughLink(const char* path, const ItemStatus& link, bool& leads);

}  // namespace quill::darwin
