// Directories that this process has just made, which the umask may have closed to their owner.
#pragma once

#include "platform/darwin/descriptors/FileDescriptor.h"

namespace quill::darwin {

/// Opens it for reading, never through a link. Empty with errno on failure.
FileDescriptor OpenOwnDirectoryAt(int directory, const char* name);

/// Gives the owner full rights where some are missing. 0 or the errno.
int GiveOwnerRights(int directory);

}  // namespace quill::darwin
