// Making the missing levels of a path, each with the rights of the one above.
#pragma once

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// Makes sure that \p path is a directory, with all levels above. A new level gets owner, group and permissions of the
/// directory that holds it, as far as this user may give them; never more for the group than that directory's access
/// list lets it do. Names are looked up as NameLookup says. ENOTDIR when something else is at the path or at a level of
/// it; else why a level could not be made. EFAULT for a null path. Any thread.
Error EnsureDirectoryChain(const char* path);

}  // namespace quill::darwin
