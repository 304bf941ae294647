// "~" and "~user" in front of a path.
#include <algorithm>
#include <optional>
#include <string>

#include "platform/darwin/user/UserDirectories.h"
#include "platform/foundation/NSString.h"

namespace quill::foundation {

RetainPtr<NSString> NSString::stringByExpandingTildeInPath() const {
  if (!hasPrefix("~")) return Shared();
  const std::string_view path = view();
  // Whoever is not in the password database may be a file: "~name" stays as it is then.
  const std::size_t userEnd = std::min(path.find('/'), path.size());
  const std::string user(path.substr(1, userEnd - 1));
  const auto home = user.empty() ? darwin::HomeDirectory() : darwin::HomeDirectoryOfUser(user);
  if (!home) return Shared();

  const std::string_view rest = path.substr(userEnd);
  // In the root as a home directory, "~/a" is "/a" and not "//a", which POSIX lets a system treat specially.
  const bool endsInRest = *home == "/" && !rest.empty();
  return Joined(endsInRest ? "" : *home, {}, rest);
}

}  // namespace quill::foundation
