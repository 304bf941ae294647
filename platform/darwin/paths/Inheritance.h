// What a new directory has from the one that holds it.
#pragma once

#include <ctime>

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// What is made from now on is not older, by the clock of local file systems.
std::timespec TimeOfNewItems() noexcept;

/// Gives the directory that was made at \p path since \p beginning owner, group and permission bits of the directory
/// that really holds it, whatever the names above it lead to by now. Anything else that stands there is left alone:
/// Error::Replaced, or why it cannot be opened. An error of one change does not hinder the others.
Error InheritOwnership(const char* path, const std::timespec& beginning);

}  // namespace quill::darwin
