// The time of day where the user is.
#pragma once

#include <string>

namespace quill::darwin {

/// Now, as "2026-01-31T12:30:00". Any thread.
std::string LocalTimestamp();

}  // namespace quill::darwin
