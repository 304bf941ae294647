#include "platform/foundation/NSStandardDirectories.h"

#include <optional>
#include <string>

#include "platform/darwin/user/UserDirectories.h"

namespace quill::foundation {
namespace {

RetainPtr<NSString> PathString(const std::optional<std::string>& path) {
  return path ? NSString::stringWithFileSystemBytes(*path) : nullptr;
}

}  // namespace

RetainPtr<NSString> NSHomeDirectory() { return PathString(darwin::HomeDirectory()); }

RetainPtr<NSString> NSSearchPathForDirectoryInUserDomain(NSSearchPathDirectory directory) {
  switch (directory) {
    case NSSearchPathDirectory::kDocument:
      return PathString(darwin::UserDirectory("DOCUMENTS", "Documents"));
    case NSSearchPathDirectory::kDesktop:
      return PathString(darwin::UserDirectory("DESKTOP", "Desktop"));
    case NSSearchPathDirectory::kCaches:
      return PathString(darwin::BaseDirectory("XDG_CACHE_HOME", ".cache", darwin::HomeDirectory));
    case NSSearchPathDirectory::kDownloads:
      return PathString(darwin::UserDirectory("DOWNLOAD", "Downloads"));
  }
  return nullptr;
}

}  // namespace quill::foundation
