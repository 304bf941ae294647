// Names and sentences for the host's error codes. Any thread.
#pragma once

#include "host/Export.h"

namespace quill {

/// The name of a code as it stands in QuillErr.h, "kQuillErrNotFound"; null for a code that is not one of these.
QUILL_EXPORT const char* QuillErrName(int code) noexcept;

/// What a code says, for people: lower case, no full stop; "unknown error" for a code that is not one of QuillErr.h's.
QUILL_EXPORT const char* QuillErrText(int code) noexcept;

}  // namespace quill
