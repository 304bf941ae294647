// Directories that this process has just made, which the umask may have closed to their owner.
#pragma once

#include "platform/darwin/descriptors/FileDescriptor.h"

namespace quill::darwin {

/// Makes a directory with mode 0700, as far as the umask lets, and opens it for reading. On failure nothing is left.
Error MakeNewDirectory(int directory, const char* name, FileDescriptor& opened);

/// Opens one for reading, never through a link.
Error OpenNewDirectory(int directory, const char* name, FileDescriptor& opened);

/// Gives the owner full rights where some are missing.
Error GiveOwnerRights(int directory);

}  // namespace quill::darwin
