// Whether one item holds another, whatever their paths look like.
#pragma once

namespace quill::darwin {

/// True when both paths lead to the same item, or \p container leads to a directory that \p item lies in, at any depth:
/// through ".", "..", links, hard links, bind mounts and other normalizations, compared by device and inode. False when
/// either does not exist, and for null.
bool ItemContains(const char* container, const char* item);

}  // namespace quill::darwin
