#include "platform/darwin/names/NameLookup.h"

#include <fcntl.h>

#include <algorithm>
#include <cstring>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/DirectoryMemory.h"
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
    if (!HasOtherForm(name)) return ENOENT;
    const std::string composed = FormC(name);
    const Error error = composed == name ? ENOENT : ProbeName(composed);
    if (!error) found = composed;
    // Success ends the search, and so does any error that another spelling would meet as well.
    if (!MayStandUnderAnotherName(error)) return error;
    DirectoryMemory* const memory = DirectoryMemory::OfThread();
    NameIndex* const names = memory ? memory->Recall(directory_, prefix_) : nullptr;
    return names ? FindIn(*names, name, found) : TrySpellings(name, composed, found);
  }

 private:
  static Error FindIn(NameIndex& names, std::string_view name, std::string& found) {
    const char* const equivalent = names.Find(name).name;
    if (!equivalent) return ENOENT;
    found = equivalent;
    return {};
  }

  Error TrySpellings(std::string_view name, const std::string& composed, std::string& found) const {
    EquivalentForms forms = EquivalentFormsOf(name);
    for (std::string& form : forms.others) {
      if (form == composed) continue;
      const Error error = ProbeName(form);
      if (!error) found = std::move(form);
      if (!error && found != FormD(name)) PrepareForMore();
      if (!MayStandUnderAnotherName(error)) return error;
    }
    // Reading the directory finds every spelling, and costs as much as it has entries.
    return forms.extent == EquivalentForms::Extent::kMany ? ReadFor(name, composed, found) : ENOENT;
  }

  /// Where many names are neither in Form C nor in Form D, one reading is cheaper than trying the spellings of each.
  /// Only operations on trees ask by a descriptor, which do much more for each name.
  void PrepareForMore() const {
    DirectoryMemory* const memory = directory_ == AT_FDCWD ? DirectoryMemory::OfThreadOrNew() : nullptr;
    if (memory && memory->ShouldReadAfterFinding(prefix_)) {
      (void)memory->Read(directory_, prefix_);  // this name has been found without it
    }
  }

  Error ReadFor(std::string_view name, const std::string& composed, std::string& found) const {
    DirectoryMemory* const memory = DirectoryMemory::OfThreadOrNew();
    NameIndex* const names = memory ? memory->Read(directory_, prefix_) : nullptr;
    return names ? FindIn(*names, name, found) : ReadOnceFor(composed, found);
  }

  /// The first entry in byte order whose Form C is \p composed.
  Error ReadOnceFor(const std::string& composed, std::string& found) const {
    FileDescriptor descriptor;
    const char* const path = prefix_.empty() ? "." : prefix_.c_str();
    // Without permission to read the directory, only the forms that were tried can be found.
    if (const Error error = Open(directory_, path, O_RDONLY | O_DIRECTORY, descriptor)) {
      return error == EACCES ? ENOENT : error;
    }
    DirectoryReader reader(std::move(descriptor));
    std::string first;
    while (const DirectoryReader::Entry* entry = reader.Next()) {
      const std::string_view name = entry->name;
      // An ASCII name is its own Form C, which has been tried already.
      if (IsASCII(name) || (!first.empty() && name >= first)) continue;
      if (FormC(name) == composed) first = name;
    }
    // A name that was not read may be the right one, so "not found" would be a guess.
    if (reader.error()) return reader.error();
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

}  // namespace

Error FindEquivalentName(int directory, std::string_view name, std::string& found) {
  return DirectorySearch(directory, {}).FindEquivalent(name, found);
}

Error FindEquivalentPath(const char* path, std::string& found) {
  // Most missing paths end here, before anything is allocated.
  if (!path || !HasOtherForm(path)) return ENOENT;
  ResolvedPath resolved;
  if (const Error error = Resolve(path, resolved)) return error;
  if (!resolved.changed || resolved.missing) return ENOENT;
  found.swap(resolved.path);
  return {};
}

bool FindRememberedPath(std::string_view path, std::string& found) {
  DirectoryMemory* const memory = DirectoryMemory::OfThread();
  const std::size_t leaf = path.rfind('/') + 1;  // 0 without a slash
  DirectoryMemory::Directory* const directory = memory ? memory->Suppose(path.substr(0, leaf)) : nullptr;
  const std::string_view name = path.substr(leaf);
  if (!directory || IsASCII(name)) return false;
  const auto [equivalent, composed] = directory->names.Find(name);
  // What should be there as given is asked for as given. So is what may be there in ASCII, which would come first.
  if (!equivalent || equivalent == name || IsASCII(composed)) return false;
  if (!memory->Confirm(*directory)) return false;
  found.reserve(leaf + std::strlen(equivalent));
  found.assign(path, 0, leaf).append(equivalent);
  return true;
}

Error FindPathForCreation(const char* path, std::string& found) {
  if (!path) return EFAULT;
  if (FindRememberedPath(path, found)) return {};
  ResolvedPath resolved;
  if (const Error error = Resolve(path, resolved)) return error;
  found.swap(resolved.path);
  return {};
}

}  // namespace quill::darwin
