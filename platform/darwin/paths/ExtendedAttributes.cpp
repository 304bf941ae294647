#include "platform/darwin/paths/ExtendedAttributes.h"

#include <sys/xattr.h>

#include <cerrno>

#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {

bool HasExtendedAttribute(const char* path, const char* name) {
  return GetExtendedAttribute(path, name, nullptr, 0) != -1;
}

long GetExtendedAttribute(const char* path, const char* name, void* value, std::size_t size) {
  return OnItem(path, [=](const char* item) { return ::getxattr(item, name, value, size); });
}

int SetExtendedAttribute(const char* path, const char* name, std::string_view value) {
  const int result =
      OnItem(path, [&](const char* item) { return ::setxattr(item, name, value.data(), value.size(), /*flags=*/0); });
  return result == 0 ? 0 : errno;
}

int RemoveExtendedAttribute(const char* path, const char* name) {
  const int result = OnItem(path, [name](const char* item) { return ::removexattr(item, name); });
  return result == 0 || errno == ENODATA ? 0 : errno;
}

}  // namespace quill::darwin
