#include "platform/darwin/paths/ExtendedAttributes.h"

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {

Error GetExtendedAttribute(const char* path, const char* name, void* value, std::size_t size, std::size_t& length) {
  return OnPath(path, [&](const char* item) { return GetAttributeOf(item, name, value, size, length); });
}

Error SetExtendedAttribute(const char* path, const char* name, std::string_view value) {
  return OnPath(path, [&](const char* item) { return SetAttributeOf(item, name, value.data(), value.size()); });
}

Error RemoveExtendedAttribute(const char* path, const char* name) {
  const Error error = OnPath(path, [name](const char* item) { return RemoveAttributeOf(item, name); });
  // What was to be gone is gone. File systems without attributes answer EOPNOTSUPP, which stays a failure.
  return error == ENODATA ? 0 : error;
}

}  // namespace quill::darwin
