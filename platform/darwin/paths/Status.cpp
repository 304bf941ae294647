#include "platform/darwin/paths/Status.h"

#include <fcntl.h>

#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"

namespace quill::darwin {

// Nothing is asked beforehand: each question is made on the path as given, and only "missing" leads to a search.
Error GetStatus(const char* path, FinalLink finalLink, ItemStatus& status) {
  return OnPath(path, [&](const char* name) { return GetStatusOf(AT_FDCWD, name, finalLink, status); });
}

// The mode alone is cheaper than everything.
Error IsDirectory(const char* path, bool& isDirectory) {
  mode_t mode = 0;
  const auto ask = [&mode](const char* name) { return GetMode(AT_FDCWD, name, 0, mode); };
  if (const Error error = OnPath(path, ask)) return error;
  isDirectory = S_ISDIR(mode);
  return {};
}

Error CheckAccess(const char* path, int mode) {
  return OnPath(path, [mode](const char* name) { return CheckAccess(AT_FDCWD, name, mode); });
}

Error ReadLinkText(const char* path, char* buffer, std::size_t size, std::size_t& length) {
  return OnPath(path, [&](const char* name) { return ReadLink(AT_FDCWD, name, buffer, size, length); });
}

Error GetCanonicalPath(const char* path, std::string& canonical) {
  return OnPath(path, [&canonical](const char* name) { return ResolvePath(name, canonical); });
}

}  // namespace quill::darwin
