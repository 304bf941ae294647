// Finding items by any normalization of their names: the way into the kernel for every path.
//
// The Apple file systems find a name in any normalization; Linux compares bytes. A path that is found as given costs
// nothing more. Only if the kernel answers that it is missing (or that a name is too long, since another form may be
// shorter), each missing component that can have another form is looked for in its other forms. Exact bytes always win;
// of several equivalents, Form C, then Form D, then the first in byte order.
//
// Components are resolved one after the other, without backtracking. The kernel follows a link's stored text byte for
// byte.
#pragma once

#include <string>
#include <string_view>

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// Gives the name of the item in \p directory (a descriptor, or AT_FDCWD) that is equivalent to \p name. ENOENT if no
/// other form of the name exists there. Does not ask for the exact bytes, which the caller has found missing. \p name
/// holds neither a slash nor NUL.
Error FindEquivalentName(int directory, std::string_view name, std::string& found);

/// Gives \p path with every component that exists only in another form replaced by that form. ENOENT if that changes
/// nothing, or if a component is missing in every form.
Error FindEquivalentPath(const char* path, std::string& found);

/// Gives the equivalent of a path whose last component is known not to exist as given (names/DirectoryMemory.h). Costs
/// one call if it seems to be known, and no call else.
bool FindRememberedPath(std::string_view path, std::string& found);

/// Gives \p path for an item that is to be created. Components (the last one included) that exist only in another form
/// are replaced, so that a creation meets the item that it would meet on an Apple file system. From the first component
/// that is missing in every form, the path is left as it is. Costs no call if no component can have another form, and
/// one call if every component that can have one exists as given. EFAULT for null.
Error FindPathForCreation(const char* path, std::string& found);

/// True if the item may still exist under another form of its name.
constexpr bool MayStandUnderAnotherName(Error error) noexcept { return error == ENOENT || error == ENAMETOOLONG; }

/// Makes \p call, which takes a path and returns an Error, on the path of an existing item, and again on the equivalent
/// path if the item is missing. EFAULT for null. If the search fails, returns its error, since the item may be there.
template <typename Call>
Error OnPath(const char* path, Call call) {
  if (!path) return EFAULT;
  std::string equivalent;
  if (FindRememberedPath(path, equivalent)) {
    const Error error = call(equivalent.c_str());
    if (!MayStandUnderAnotherName(error)) return error;
  }
  const Error error = call(path);
  if (!MayStandUnderAnotherName(error)) return error;
  if (const Error missing = FindEquivalentPath(path, equivalent)) return missing == ENOENT ? error : missing;
  return call(equivalent.c_str());
}

/// The same for the path of an item that is to be created.
template <typename Call>
Error OnPathForCreation(const char* path, Call call) {
  std::string place;
  if (const Error error = FindPathForCreation(path, place)) return error;
  return call(place.c_str());
}

}  // namespace quill::darwin
