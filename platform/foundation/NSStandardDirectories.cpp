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
  // The first argument is the name in user-dirs.dirs, the second the directory below the home directory for users
  // without that file.
  switch (directory) {
    case NSSearchPathDirectory::kDocument:
      return PathString(darwin::UserDirectory("DOCUMENTS", "Documents"));
    case NSSearchPathDirectory::kDesktop:
      return PathString(darwin::UserDirectory("DESKTOP", "Desktop"));
    case NSSearchPathDirectory::kCaches:
      // Caches are a base directory of the XDG specification, not one of the user directories.
      return PathString(darwin::BaseDirectory("XDG_CACHE_HOME", ".cache", darwin::HomeDirectory));
    case NSSearchPathDirectory::kDownloads:
      return PathString(darwin::UserDirectory("DOWNLOAD", "Downloads"));
  }
  // For a value outside the enumeration; a new one without a case is a warning of the compiler.
  return nullptr;
}

}  // namespace quill::foundation
