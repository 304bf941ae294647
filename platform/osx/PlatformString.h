// What the operations of the manager share.
#pragma once

#include "host/QuillFileString.h"
#include "platform/foundation/NSString.h"

namespace quill::darwin {}

namespace foundation = quill::foundation;
namespace darwin = quill::darwin;

namespace quill {

/// The path as a platform string; null when the path has no text. A name on a disk may hold bytes that are not UTF-8,
/// and is found by the text that a listing delivered: they are kept.
inline foundation::RetainPtr<quill::foundation::NSString> PlatformString(const QuillFileString& path) {
  const char* const text = path.getUTF8();
  return text ? foundation::NSString::stringWithFileSystemBytes(text) : nullptr;
}

/// Stores \p text, which need not be UTF-8, into \p path in Normalization Form C.
void SetInFormC(const char* text, QuillFileString& path);

}  // namespace quill

using quill::PlatformString;
using quill::SetInFormC;

/// Whether something exists at the path, links followed; *isDirectory is written only then, and may be null.
bool _FileExists(const QuillFileString& path, bool* isDirectory);
