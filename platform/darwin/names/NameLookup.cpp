#include "platform/darwin/names/NameLookup.h"

#include <fcntl.h>

#include <algorithm>
#include <utility>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/EquivalentForms.h"
#include "platform/darwin/names/Normalization.h"

namespace quill::darwin {
namespace {

/// Success if an item exists at \p path; a link itself counts.
Error Probe(int directory, const std::string& path) {
  mode_t unused;
  return GetMode(directory, path.c_str(), AT_SYMLINK_NOFOLLOW, unused);
}

/// Looks for a name in one directory, which \p prefix (empty, or ending with a slash) names relative to a descriptor.
class DirectorySearch {
 public:
  DirectorySearch(int directory, std::string_view prefix) : directory_(directory), prefix_(prefix) {}

  Error ProbeName(std::string_view name) const { return Probe(directory_, prefix_ + std::string(name)); }

  Error FindEquivalent(std::string_view name, std::string& found) const {
    EquivalentForms forms = EquivalentFormsOf(name);
    for (std::string& form : forms.others) {
      const Error error = ProbeName(form);
      if (!error) found = std::move(form);
      // Success ends the search, and so does any error that another spelling would meet as well.
      if (!MayStandUnderAnotherName(error)) return error;
    }
    // Reading the directory finds every spelling, and costs as much as it has entries.
    return forms.extent == EquivalentForms::Extent::kMany ? FindInEntries(name, found) : ENOENT;
  }

 private:
  Error FindInEntries(std::string_view name, std::string& found) const {
    const bool isByPath = directory_ == AT_FDCWD;
    RememberedDirectory* const memory = RememberedDirectory::OfThisThread();
    if (isByPath && memory && memory->IsCurrent(prefix_, Freshness::kOfNow)) return memory->Find(name, found);
    FileDescriptor descriptor;
    const char* const path = prefix_.empty() ? "." : prefix_.c_str();
    // Without permission to read the directory, only the forms that were tried can be found.
    if (const Error error = Open(directory_, path, O_RDONLY | O_DIRECTORY, descriptor)) {
      return error == EACCES ? ENOENT : error;
    }
    RememberedDirectory reading(prefix_, descriptor.get());
    const Error error = Read(std::move(descriptor), FormC(name), found, reading);
    if (isByPath) RememberedDirectory::Remember(std::move(reading));
    return error;
  }

  /// Finds the first entry in byte order whose Form C is \p composed.
  static Error Read(FileDescriptor directory, const std::string& composed, std::string& found,
                    RememberedDirectory& reading) {
    DirectoryReader reader(std::move(directory));
    std::string first;
    while (const DirectoryReader::Entry* entry = reader.Next()) {
      const std::string_view name = entry->name;
      const std::string form = FormC(name);
      reading.Add(name, form);
      // An ASCII name is its own Form C, which has been tried already.
      if (form == composed && !IsASCII(name) && (first.empty() || name < first)) first = name;
    }
    // A name that was not read may be the right one, so "not found" would be a guess.
    if (reader.error()) return reader.error();
    reading.Finish();
    if (first.empty()) return ENOENT;
    found.swap(first);
    return {};
  }

  int directory_;
  std::string prefix_;
};

/// A path whose components are looked for one after the other.
struct ResolvedPath {
  std::string path;
  bool changed = false;
  /// A component that can have another form exists in none of them; from there on the path is as it was given.
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

/// Looks for \p name in the directory that has been resolved so far, and appends the form that exists there.
Error ResolveName(std::string_view name, bool knownMissing, ResolvedPath& resolved) {
  const DirectorySearch search(AT_FDCWD, resolved.path);
  const Error error = knownMissing ? ENOENT : search.ProbeName(name);
  std::string equivalent;
  const Error missing = MayStandUnderAnotherName(error) ? search.FindEquivalent(name, equivalent) : error;
  // The call that follows will meet any error other than a missing name again, except one that ended the search.
  if (missing && missing != ENOENT && missing != error) return missing;
  resolved.changed |= !equivalent.empty();
  resolved.missing = error && equivalent.empty();
  resolved.path += equivalent.empty() ? name : std::string_view(equivalent);
  return {};
}

/// Where to look first: at the last component, if everything above it that could be missing exists as given. It mostly
/// does, and asking for each component by its whole path would take quadratic time.
std::size_t FirstInQuestion(std::string_view searchable) {
  const std::size_t last = searchable.rfind('/') + 1;  // 0 without a slash
  const std::string_view above = SearchablePart(searchable.substr(0, last));
  return !above.empty() && !Probe(AT_FDCWD, std::string(above)) ? last : 0;
}

Error Resolve(std::string_view path, ResolvedPath& resolved) {
  const std::string_view searchable = SearchablePart(path);
  // One call shows whether all of it exists as given. With any error other than a missing name, the kernel stopped at
  // some component, and all before it exist as given.
  const Error error = searchable.empty() ? Error() : Probe(AT_FDCWD, std::string(searchable));
  if (!MayStandUnderAnotherName(error)) {
    resolved.path = path;
    return {};
  }
  const std::size_t first = FirstInQuestion(searchable);
  resolved.path = path.substr(0, first);
  for (std::size_t position = first; position < searchable.size();) {
    const std::size_t end = std::min(path.find('/', position), path.size());
    const std::string_view name = path.substr(position, end - position);
    // Below a missing directory nothing can be found.
    if (!resolved.missing && HasOtherForm(name)) {
      // The first call has asked for exactly this path. Once a component has changed, it is another path.
      const bool knownMissing = end == searchable.size() && !resolved.changed;
      if (const Error broken = ResolveName(name, knownMissing, resolved)) return broken;
    } else {
      resolved.path += name;
    }
    if (end < searchable.size()) resolved.path += '/';
    position = end + 1;
  }
  resolved.path += path.substr(searchable.size());
  return {};
}

/// Whether the thread remembers the directory of \p path, and so what a search would give: \p found or \p error.
bool FindInMemory(std::string_view path, Freshness freshness, std::string& found, Error& error) {
  RememberedDirectory* const memory = RememberedDirectory::OfThisThread();
  const std::size_t leaf = path.rfind('/') + 1;  // 0 without a slash
  const std::string_view above = path.substr(0, leaf), name = path.substr(leaf);
  if (!memory || !memory->IsOf(above) || !HasOtherForm(name) || !memory->IsCurrent(above, freshness)) return false;
  std::string equivalent;
  error = memory->Find(name, equivalent);
  if (error) return memory->IsCurrent(above, Freshness::kOfNow);  // it may have come meanwhile
  found = above;
  found += equivalent;
  memory->NoteFound(path, found);
  return true;
}

}  // namespace

bool WasJustFound(const char* path, Freshness freshness, std::string& found) {
  RememberedDirectory* const memory = RememberedDirectory::OfThisThread();
  return memory && memory->WasFound(path, freshness, found);
}

Error FindEquivalentName(int directory, std::string_view name, std::string& found) {
  return DirectorySearch(directory, {}).FindEquivalent(name, found);
}

Error FindEquivalentPath(const char* path, std::string& found, Freshness freshness) {
  if (!path) return ENOENT;
  Error remembered;
  if (FindInMemory(path, freshness, found, remembered)) return remembered;
  // Most missing paths end here, before anything is allocated.
  if (!HasOtherForm(path)) return ENOENT;
  ResolvedPath resolved;
  if (const Error error = Resolve(path, resolved)) return error;
  if (!resolved.changed || resolved.missing) return ENOENT;
  found.swap(resolved.path);
  return {};
}

Error FindPathForCreation(const char* path, std::string& found) {
  if (!path) return EFAULT;
  ResolvedPath resolved;
  if (const Error error = Resolve(path, resolved)) return error;
  found.swap(resolved.path);
  return {};
}

}  // namespace quill::darwin
