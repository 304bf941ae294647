// Directories that this process has just made, which the umask may have closed to their owner.
#pragma once

#include <ctime>
#include <string>

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/descriptors/ItemStatus.h"

namespace quill::darwin {

/// Makes a directory with mode 0700, as far as the umask lets, and opens it for reading. On failure nothing is left.
Error MakeNewDirectory(int directory, const char* name, FileDescriptor& opened);

/// Opens one for reading, never through a link.
Error OpenNewDirectory(int directory, const char* name, FileDescriptor& opened);

/// Gives the owner full rights where some are missing.
Error GiveOwnerRights(int directory);

/// A hidden name that nobody can guess.
Error ChooseHiddenName(std::string& name);

/// What is made from now on is not older, by the clock of local file systems.
std::timespec TimeOfNewItems() noexcept;

/// False as well for a new item of a server whose clock lags.
bool IsMadeSince(const ItemStatus& status, const std::timespec& beginning) noexcept;

}  // namespace quill::darwin
