// Names and sentences for the host's error codes. Any thread.
#pragma once

#include "host/Export.h"

namespace quill {

/// The name of a code in QuillErr.h, such as "kQuillErrNotFound"; null for other codes.
QUILL_EXPORT const char* QuillErrName(int code) noexcept;

/// The meaning of a code, for people: lower case, no full stop; "unknown error" for codes that are not in QuillErr.h.
QUILL_EXPORT const char* QuillErrText(int code) noexcept;

}  // namespace quill
