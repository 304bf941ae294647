// Opening and creating files and directories by path. Nothing here waits for a peer, and every descriptor is closed on
// exec. An empty descriptor means failure, with errno telling why.
#pragma once

#include <cstddef>

#include "platform/darwin/descriptors/FileDescriptor.h"

namespace quill::darwin {

/// Opens an existing file that can be positioned: no directory, FIFO, socket or terminal. A device counts when the
/// kernel lets it be positioned, as it does /dev/null. \p access is O_RDONLY, O_WRONLY or O_RDWR. The file pointer
/// stands at the end, which \p end tells. Three calls for reading, two for writing.
FileDescriptor OpenPositionable(const char* path, int access, long long& end);

enum class ExistingContents { kKeep, kEmpty };

/// Opens a new, empty file for writing, or one that exists.
FileDescriptor CreateFile(const char* path, ExistingContents contents);

FileDescriptor OpenDirectory(const char* path);

/// Writes all bytes at the file pointer, in as many calls as it takes. 0, or the errno of the call that failed; \p
/// written tells in either case how far the file pointer moved.
int WriteAll(int descriptor, const void* bytes, std::size_t length, std::size_t& written) noexcept;

}  // namespace quill::darwin
