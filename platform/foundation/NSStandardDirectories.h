// Where this user's directories are.
#pragma once

#include "platform/foundation/NSString.h"

namespace quill::foundation {

enum class NSSearchPathDirectory { kDocument = 9, kDesktop = 12, kCaches = 13, kDownloads = 15 };

/// $HOME if it is absolute, else the entry in the password database; null if there is neither.
RetainPtr<NSString> NSHomeDirectory();

/// The first entry in the user's domain, absolute, tilde expanded; null when there is none.
RetainPtr<NSString> NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory directory);

}  // namespace quill::foundation
