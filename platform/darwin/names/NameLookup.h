// Finding items by any normalization of their names.
//
// The Apple file systems find a name in any normalization; Linux compares bytes. Every path that enters the kernel goes
// through here: a path that is found as given costs nothing more, and only after the kernel said that it is missing (or
// that a name is too long, which another form of it need not be) each missing component that can have another form is
// looked for in its other forms. Exact bytes always win; of several equivalents, Form C, then Form D, then the first in
// byte order.
//
// Components are resolved one after the other, without going back. A link's stored text is the kernel's to follow.
#pragma once

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>

namespace quill::darwin {

/// The name under which an item equivalent to \p name stands in \p directory (a descriptor, or AT_FDCWD); nullopt when
/// no other form of the name stands there. Never asked for the exact bytes: the caller has found these missing.
/// \p name holds neither a slash nor NUL.
std::optional<std::string> EquivalentNameAt(int directory, std::string_view name);

/// \p path with every component that exists only in another form replaced by that form; nullopt when nothing would
/// change or a component is missing in every form.
std::optional<std::string> EquivalentPath(const char* path);

/// \p path for an item that is to be created: as it is, or with the components (the last one included) that exist only
/// in another form replaced, so that a creation meets the item that it would meet on an Apple file system. From a
/// component on that is missing in every form the path is left as it is. Costs no call when no component can have
/// another form, and one when each of these stands there as given. Empty for null.
std::string PathForCreation(const char* path);

/// errno says that another form of the name may still be there.
inline bool MayStandUnderAnotherName(int error) noexcept { return error == ENOENT || error == ENAMETOOLONG; }

/// Runs \p call (which answers -1 with errno on failure) on a path of an existing item; once more on its equivalent
/// when the first says that the item is missing.
template <typename Call>
auto OnItem(const char* path, Call call) {
  const auto result = call(path);
  if (result != -1 || !MayStandUnderAnotherName(errno)) return result;
  const int reason = errno;
  const auto equivalent = EquivalentPath(path);
  if (equivalent) return call(equivalent->c_str());
  errno = reason;
  return result;
}

}  // namespace quill::darwin
