// Which items a desktop does not show.
#pragma once

#include "host/CoreFileManager.h"

namespace quill {

/// True when the last component begins with a dot, or a line of the file ".hidden" in its directory is the name, in any
/// normalization. Records nothing.
bool IsHiddenName(CoreFileManager& manager, const QuillFileString& path);

}  // namespace quill
