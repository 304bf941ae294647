// Which items a desktop does not show.
#pragma once

#include "host/CoreFileManager.h"

namespace quill {

/// True if the last component begins with a dot, or if the file ".hidden" in its directory has a line with the name, in
/// any normalization. Records nothing.
bool IsHiddenName(CoreFileManager& manager, const QuillFileString& path);

}  // namespace quill
