// Finding items by any normalization of their names: the way into the kernel for every path.
//
// The Apple file systems find a name in any normalization; Linux compares bytes. A path that is found as given costs
// nothing more. Only after the kernel said that it is missing (or that a name is too long, which another form of it
// need not be), each missing component that can have another form is looked for in its other forms. Exact bytes always
// win; of several equivalents, Form C, then Form D, then the first in byte order.
//
// Components are resolved one after the other, without going back. A link's stored text is the kernel's to follow.
#pragma once

#include <string>
#include <string_view>

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// Gives the name under which an item equivalent to \p name stands in \p directory (a descriptor, or AT_FDCWD). ENOENT
/// when no other form of the name stands there. The exact bytes are not asked for: the caller has found them missing.
/// \p name holds neither a slash nor NUL.
Error FindEquivalentName(int directory, std::string_view name, std::string& found);

/// Gives \p path with every component that exists only in another form replaced by that form. ENOENT when that changes
/// nothing, or a component is missing in every form.
Error FindEquivalentPath(const char* path, std::string& found);

/// Gives \p path for an item that is to be created: as it is, or with the components (the last one included) that exist
/// only in another form replaced, so that a creation meets the item that it would meet on an Apple file system. From a
/// component on that is missing in every form the path is left as it is. Costs no call when no component can have
/// another form, and one when each of these stands there as given. EFAULT for null.
Error FindPathForCreation(const char* path, std::string& found);

/// Whether the item may still stand under another form of its name.
constexpr bool MayStandUnderAnotherName(Error error) noexcept { return error == ENOENT || error == ENAMETOOLONG; }

/// Makes \p call, which takes a path and answers an Error, on the path of an existing item; once more on its equivalent
/// when the item is missing. EFAULT for null. A search that cannot be finished answers why: the item may be there.
template <typename Call>
Error OnPath(const char* path, Call call) {
  if (!path) return EFAULT;
  const Error error = call(path);
  if (!MayStandUnderAnotherName(error)) return error;
  std::string equivalent;
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
