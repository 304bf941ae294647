// Small pieces of metadata that an item carries under a name. Names are looked up as NameLookup says; links are
// followed. Any thread.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// ENODATA without the attribute, ERANGE for a value longer than \p size; only asked for its length when \p size is 0.
Error GetExtendedAttribute(const char* path, const char* name, void* value, std::size_t size, std::size_t& length);

/// An attribute of that name is replaced.
Error SetExtendedAttribute(const char* path, const char* name, std::string_view value);

/// An attribute that is not there counts as removed.
Error RemoveExtendedAttribute(const char* path, const char* name);

}  // namespace quill::darwin
