// Questions about the item at a path. Names are looked up as NameLookup says; one system call for a path that is found
// as given. EFAULT for a null path. Any thread.
#pragma once

#include <cstddef>
#include <string>

#include "platform/darwin/descriptors/ItemStatus.h"

namespace quill::darwin {

Error GetStatus(const char* path, FinalLink finalLink, ItemStatus& status);

/// Whether a directory stands at \p path, or a link to one. Cheaper than asking for all of its status.
Error IsDirectory(const char* path, bool& isDirectory);

/// Whether the effective user may do what \p mode (F_OK, R_OK, W_OK) says; access(2) asks for the real user.
Error CheckAccess(const char* path, int mode);

/// At most \p size bytes of a symbolic link's text, without an end.
Error ReadLinkText(const char* path, char* buffer, std::size_t size, std::size_t& length);

/// The absolute path of an existing item, free of links, "." and "..", in the bytes under which its components stand
/// on disk.
Error GetCanonicalPath(const char* path, std::string& canonical);

}  // namespace quill::darwin
