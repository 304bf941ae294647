// What the operations of the manager share.
#pragma once

#include "host/QuillFileString.h"
#include "platform/foundation/NSString.h"

/// The path as a platform string; null when the path has no text or its text is not UTF-8.
inline foundation::RetainPtr<foundation::NSString> PlatformString(const QuillFileString& path) {
  return foundation::NSString::stringWithUTF8String(path.getUTF8());
}

/// Whether something exists at the path, links followed; *isDirectory is written only then, and may be null.
bool _FileExists(const QuillFileString& path, bool* isDirectory);
