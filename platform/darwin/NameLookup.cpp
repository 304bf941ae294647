#include "platform/darwin/NameLookup.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/darwin/DirectoryReader.h"
#include "platform/darwin/EquivalentForms.h"
#include "platform/darwin/Normalization.h"
#include "platform/darwin/Retry.h"

namespace darwin {
namespace {

/// 0 when an item stands at \p path (a link itself counts), or the errno.
int Probe(int directory, const std::string& path) {
  struct stat status;
  return ::fstatat(directory, path.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

/// Looks for a name in one directory: the one that \p prefix, empty or ending with a slash, names below a descriptor.
class DirectorySearch {
 public:
  DirectorySearch(int descriptor, std::string_view pathPrefix) : directory(descriptor), prefix(pathPrefix) {}

  int ProbeName(std::string_view name) const { return Probe(directory, prefix + std::string(name)); }

  std::optional<std::string> FindEquivalent(std::string_view name) const {
    EquivalentForms forms = EquivalentFormsOf(name);
    for (std::string& form : forms.others) {
      const int error = ProbeName(form);
      if (error == 0) return std::move(form);
      if (!MayStandUnderAnotherName(error)) return std::nullopt;
    }
    if (forms.extent != EquivalentForms::Extent::kMany) return std::nullopt;
    return ReadFor(FormC(name));
  }

 private:
  /// The first entry in byte order whose Form C is \p composed.
  std::optional<std::string> ReadFor(const std::string& composed) const {
    const char* const path = prefix.empty() ? "." : prefix.c_str();
    FileDescriptor descriptor(Retry([&] { return ::openat(directory, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!descriptor) return std::nullopt;
    DirectoryReader reader(std::move(descriptor));
    std::optional<std::string> found;
    while (const DirectoryReader::Entry* entry = reader.Next()) {
      const std::string_view name = entry->name;
      // An ASCII name is its own Form C, and that form has been probed.
      if (IsASCII(name) || (found && name >= *found)) continue;
      if (FormC(name) == composed) found = name;
    }
    return found;
  }

  int directory;
  std::string prefix;
};

/// A path whose components have been looked for, one after another.
struct ResolvedPath {
  std::string path;
  bool changed = false;
  /// A component that can have another form stands there in none; from it on the path is as it was given.
  bool missing = false;
};

ResolvedPath Resolve(std::string_view path) {
  ResolvedPath resolved;
  for (std::size_t position = 0; position < path.size();) {
    const std::size_t end = std::min(path.find('/', position), path.size());
    const std::string_view name = path.substr(position, end - position);
    position = std::min(end + 1, path.size());
    const std::string_view slash = path.substr(end, position - end);
    if (!resolved.missing && HasOtherForm(name)) {
      const DirectorySearch search(AT_FDCWD, resolved.path);
      const int error = search.ProbeName(name);
      const auto equivalent = MayStandUnderAnotherName(error) ? search.FindEquivalent(name) : std::nullopt;
      resolved.changed |= equivalent.has_value();
      resolved.missing = error != 0 && !equivalent;
      resolved.path += equivalent ? std::string_view(*equivalent) : name;
    } else {
      resolved.path += name;
    }
    resolved.path += slash;
  }
  return resolved;
}

}  // namespace

std::optional<std::string> EquivalentNameAt(int directory, std::string_view name) {
  return DirectorySearch(directory, {}).FindEquivalent(name);
}

std::optional<std::string> EquivalentPath(const char* path) {
  if (!path) return std::nullopt;
  ResolvedPath resolved = Resolve(path);
  if (!resolved.changed || resolved.missing) return std::nullopt;
  return std::move(resolved.path);
}

std::string PathForCreation(const char* path) { return path ? Resolve(path).path : std::string(); }

}  // namespace darwin
