#include "platform/darwin/names/NameLookup.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/Retry.h"
#include "platform/darwin/names/EquivalentForms.h"
#include "platform/darwin/names/Normalization.h"

namespace quill::darwin {
namespace {

/// 0 when an item stands at \p path (a link itself counts), or the errno.
int Probe(int directory, const std::string& path) {
  struct stat status;
  return ::fstatat(directory, path.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

/// Looks for a name in one directory: the one that \p prefix, empty or ending with a slash, names below a descriptor.
class DirectorySearch {
 public:
  DirectorySearch(int descriptor, std::string_view pathPrefix) : directory_(descriptor), prefix_(pathPrefix) {}

  int ProbeName(std::string_view name) const { return Probe(directory_, prefix_ + std::string(name)); }

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
    const char* const path = prefix_.empty() ? "." : prefix_.c_str();
    FileDescriptor descriptor(Retry([&] { return ::openat(directory_, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
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

  int directory_;
  std::string prefix_;
};

/// A path whose components are looked for, one after another.
struct ResolvedPath {
  std::string path;
  bool changed = false;
  /// A component that can have another form stands there in none; from it on the path is as it was given.
  bool missing = false;
};

/// The beginning of \p path that ends with its last component that can have another form; empty when none can.
std::string_view SearchablePart(std::string_view path) {
  for (std::string_view part = path; !part.empty();) {
    const std::size_t slash = part.rfind('/');
    const std::size_t name = slash == part.npos ? 0 : slash + 1;
    if (HasOtherForm(part.substr(name))) return part;
    part = part.substr(0, slash == part.npos ? 0 : slash);
  }
  return {};
}

/// Looks for \p name in the directory that has been resolved so far, and adds it in the form in which it stands there.
void ResolveName(std::string_view name, bool knownMissing, ResolvedPath& resolved) {
  const DirectorySearch search(AT_FDCWD, resolved.path);
  const int error = knownMissing ? ENOENT : search.ProbeName(name);
  const auto equivalent = MayStandUnderAnotherName(error) ? search.FindEquivalent(name) : std::nullopt;
  resolved.changed |= equivalent.has_value();
  resolved.missing = error != 0 && !equivalent;
  resolved.path += equivalent ? std::string_view(*equivalent) : name;
}

/// Where to look first: at the last component, if all that could be missing above it is there as given. Mostly it is;
/// asking for each component, by all the path above it, would cost the square of their number.
std::size_t FirstInQuestion(std::string_view searchable) {
  const std::size_t last = searchable.rfind('/') + 1;  // 0 without a slash
  const std::string_view above = SearchablePart(searchable.substr(0, last));
  return !above.empty() && Probe(AT_FDCWD, std::string(above)) == 0 ? last : 0;
}

ResolvedPath Resolve(std::string_view path) {
  const std::string_view searchable = SearchablePart(path);
  // One call tells whether all of it is there as given. Another error than a missing name is the kernel's answer for
  // the first component at which it stopped, and all before it are there as given.
  const int error = searchable.empty() ? 0 : Probe(AT_FDCWD, std::string(searchable));
  if (!MayStandUnderAnotherName(error)) return {std::string(path)};

  const std::size_t first = FirstInQuestion(searchable);
  ResolvedPath resolved{std::string(path.substr(0, first))};
  for (std::size_t position = first; position < searchable.size();) {
    const std::size_t end = std::min(path.find('/', position), path.size());
    const std::string_view name = path.substr(position, end - position);
    if (!resolved.missing && HasOtherForm(name)) {
      ResolveName(name, /*knownMissing=*/end == searchable.size() && !resolved.changed, resolved);
    } else {
      resolved.path += name;
    }
    if (end < searchable.size()) resolved.path += '/';
    position = end + 1;
  }
  resolved.path += path.substr(searchable.size());
  return resolved;
}

}  // namespace

std::optional<std::string> EquivalentNameAt(int directory, std::string_view name) {
  return DirectorySearch(directory, {}).FindEquivalent(name);
}

std::optional<std::string> EquivalentPath(const char* path) {
  // Most missing paths end here, before anything is allocated.
  if (!path || !HasOtherForm(path)) return std::nullopt;
  ResolvedPath resolved = Resolve(path);
  if (!resolved.changed || resolved.missing) return std::nullopt;
  return std::move(resolved.path);
}

std::string PathForCreation(const char* path) { return path ? Resolve(path).path : std::string(); }

}  // namespace quill::darwin
