// Files that reserve their name.
#pragma once

#include <string_view>

namespace quill::darwin {

/// Creates a file that only its owner may read, with these contents. 0, or the errno with nothing left behind; EEXIST
/// when anything stands at \p path, a dangling link included. Any thread.
int CreateExclusively(const char* path, std::string_view contents);

}  // namespace quill::darwin
