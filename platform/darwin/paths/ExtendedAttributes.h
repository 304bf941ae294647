// Small pieces of metadata that an item carries under a name. Names are looked up as NameLookup says; links are
// followed. Any thread.
#pragma once

#include <cstddef>
#include <string_view>

namespace quill::darwin {

/// False as well when the item or the file system has no such attributes.
bool HasExtendedAttribute(const char* path, const char* name);

/// The value's length, or -1 with errno: ENODATA without the attribute, ERANGE for a value longer than \p size.
long GetExtendedAttribute(const char* path, const char* name, void* value, std::size_t size);

/// 0, or the errno; an attribute of that name is replaced.
int SetExtendedAttribute(const char* path, const char* name, std::string_view value);

/// 0, or the errno. An attribute that is not there counts as removed.
int RemoveExtendedAttribute(const char* path, const char* name);

}  // namespace quill::darwin
