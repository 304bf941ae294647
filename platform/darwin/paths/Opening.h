// Opening files and directories by path. Names are looked up as NameLookup says. Nothing here waits for a peer. EFAULT
// for a null path. Any thread.
#pragma once

#include <cstdint>

#include "platform/darwin/descriptors/FileDescriptor.h"

namespace quill::darwin {

/// Opens an existing file that can be positioned: no directory (EISDIR), FIFO, socket or terminal (ESPIPE, or why it
/// cannot be opened). A device counts when the kernel lets it be positioned, as it does /dev/null. \p access is
/// O_RDONLY, O_WRONLY or O_RDWR. The file pointer stands at the end, which \p end tells. Three calls for reading, two
/// for writing.
Error OpenPositionable(const char* path, int access, FileDescriptor& file, std::int64_t& end);

Error OpenDirectory(const char* path, FileDescriptor& directory);

Error IsEmptyDirectory(const char* path, bool& empty);

}  // namespace quill::darwin
