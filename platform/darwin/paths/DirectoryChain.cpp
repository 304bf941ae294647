// Levels that exist are followed as any path is. From the first missing one on, every level is made and opened relative
// to the descriptor of the one above, so that nobody who may rename things there can lead the work elsewhere, and what
// is given to a level is given through its own descriptor, after it is known to be the one that was made.
//
// A level is visible to other processes as soon as it has its name, and one of them may make the next level below it
// and hand down what it finds. Where the process's umask or another owner would make a level differ from its parent at
// first, it is therefore made under a hidden name, gets its rights there, and is then renamed.
#include "platform/darwin/paths/DirectoryChain.h"

#include <fcntl.h>
#include <stdio.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/darwin/descriptors/AccessList.h"
#include "platform/darwin/descriptors/NewDirectory.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/names/PathText.h"
#include "platform/darwin/paths/Status.h"

namespace quill::darwin {
namespace {

constexpr int kLookUp = O_PATH | O_DIRECTORY;
constexpr mode_t kOpenToEveryone = 0777;
constexpr mode_t kTakenByUsualMasks = S_IWGRP | S_IWOTH;

/// What one level hands down to the next.
struct Rights {
  uid_t owner = 0;
  gid_t group = 0;
  mode_t permissions = 0;

  bool operator==(const Rights&) const = default;
};

/// A directory, by a path relative to an open one, "" or ending in a slash. There is one only below a directory that is
/// safe, where names are as good as descriptors and spare two calls a level.
struct Level {
  FileDescriptor directory;
  std::string below;
  Rights rights;
  /// Only root and this user can exchange what is in it.
  bool isSafe = false;
  uid_t user = 0;

  std::string PathOf(const char* name) const { return below + name; }
};

bool IsSafe(const ItemStatus& status, uid_t user) {
  const bool isOfTrusted = status.owner == user || status.owner == 0;
  return isOfTrusted && ((status.mode & kTakenByUsualMasks) == 0 || (status.mode & S_ISVTX) != 0);
}

Error ReadLevel(FileDescriptor directory, uid_t user, Level& level) {
  ItemStatus status;
  if (const Error error = GetStatus(directory.get(), status)) return error;
  mode_t permissions = status.Permissions();
  if (const Error error = LimitToOwningGroup({directory.get(), true}, permissions)) return error;
  level = {std::move(directory), {}, {status.owner, status.group, permissions}, IsSafe(status, user), user};
  return {};
}

Rights RightsOf(const ItemStatus& status) { return {status.owner, status.group, status.Permissions()}; }

/// Gives what is missing, through the descriptor. What is refused stops nobody: the directory is there.
void HandDown(const FileDescriptor& made, const ItemStatus& status, const Rights& rights) {
  const OpenItem item{made.get(), true};
  constexpr unsigned kUnchanged = ~0u;
  const bool isOwned = status.owner == rights.owner && status.group == rights.group;
  if (!isOwned && ChangeOwner(item, rights.owner, rights.group)) {
    // A user who cannot change the owner can still set one of their groups.
    (void)ChangeOwner(item, kUnchanged, rights.group);
    (void)ChangeOwner(item, rights.owner, kUnchanged);
  }
  // Last, as a change of owner may clear permission bits.
  if (!isOwned || status.Permissions() != rights.permissions) (void)ChangeMode(item, rights.permissions);
}

/// Whether \p status is of the directory that this process has just made in \p above.
bool IsOurs(const ItemStatus& status, const Level& above, const std::timespec& beginning) {
  return above.isSafe || (status.owner == above.user && IsMadeSince(status, beginning));
}

/// Opens the directory that was just made under \p name, and gives it its rights. Error::Replaced when it is another
/// one by now.
Error Complete(const Level& above, const std::string& path, const std::timespec& beginning, Level& made) {
  FileDescriptor directory;
  ItemStatus status;
  if (const Error error = Open(above.directory.get(), path.c_str(), kLookUp | O_NOFOLLOW, directory)) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP ? Error::Replaced() : error;
  }
  if (const Error error = GetStatus(directory.get(), status)) return error;
  if (!IsOurs(status, above, beginning)) return Error::Replaced();
  if (RightsOf(status) == above.rights) {
    made = {std::move(directory), {}, above.rights, above.isSafe, above.user};
    return {};
  }
  HandDown(directory, status, above.rights);
  return ReadLevel(std::move(directory), above.user, made);
}

/// Whether the new directory is as it shall be without being opened.
bool IsComplete(const Level& above, const std::string& path) {
  ItemStatus status;
  if (!above.isSafe || GetStatusOf(above.directory.get(), path.c_str(), FinalLink::kItself, status)) return false;
  return status.IsDirectory() && RightsOf(status) == above.rights;
}

/// EEXIST when something has the name already. On success \p above may have given up its descriptor.
Error MakeInPlace(Level& above, const char* name, Level& made) {
  const std::timespec beginning = TimeOfNewItems();
  const std::string path = above.PathOf(name);
  const mode_t mode = kOpenToEveryone & (above.rights.permissions | S_IRWXU);
  if (const Error error = MakeDirectory(above.directory.get(), path.c_str(), mode)) return error;
  if (!IsComplete(above, path)) return Complete(above, path, beginning, made);
  made = {std::move(above.directory), path + '/', above.rights, above.isSafe, above.user};
  return {};
}

/// The same, complete from the moment in which it has its name.
Error MakeHidden(const Level& above, const char* name, Level& made) {
  const int directory = above.directory.get();
  const std::timespec beginning = TimeOfNewItems();
  std::string random;
  if (const Error error = ChooseHiddenName(random)) return error;
  const std::string hidden = above.PathOf(random.c_str());
  const std::string path = above.PathOf(name);
  if (const Error error = MakeDirectory(directory, hidden.c_str(), S_IRWXU)) return error;
  Error error = Complete(above, hidden, beginning, made);
  if (!error) error = Rename(directory, hidden.c_str(), directory, path.c_str(), RENAME_NOREPLACE);
  if (error) (void)Unlink(directory, hidden.c_str(), AT_REMOVEDIR);  // the reason is the one to report
  return error;
}

Error Make(Level& above, const char* name, Level& made) {
  const bool isComplete = (above.rights.permissions & kTakenByUsualMasks) == 0 && above.rights.owner == above.user;
  if (isComplete) return MakeInPlace(above, name, made);
  const Error error = MakeHidden(above, name, made);
  // A file system that cannot rename without replacing.
  return error == EINVAL || error == ENOSYS ? MakeInPlace(above, name, made) : error;
}

/// Makes a level, or opens what another process has made there, which may be a link to a directory.
Error MakeOrOpen(Level& above, const char* name, Level& level) {
  const Error error = Make(above, name, level);
  if (error != EEXIST && error != Error::Replaced()) return error;
  FileDescriptor existing;
  if (const Error unopened = Open(above.directory.get(), above.PathOf(name).c_str(), kLookUp, existing)) {
    return unopened == ENOENT ? EEXIST : unopened;
  }
  return ReadLevel(std::move(existing), above.user, level);
}

std::vector<std::string> ComponentsOf(std::string_view path) {
  std::vector<std::string> components;
  while (!path.empty()) {
    const std::string_view component = path.substr(0, path.find('/'));
    if (!component.empty()) components.emplace_back(component);
    path.remove_prefix(std::min(component.size() + 1, path.size()));
  }
  return components;
}

/// How many of the components exist, and the path of these. ENOTDIR when one is no directory.
Error FindExisting(const std::vector<std::string>& components, std::string& existing, std::size_t& count) {
  for (count = 0; count < components.size(); ++count) {
    const std::string next = Join(existing, components[count]);
    bool isDirectory = false;
    if (IsDirectory(next.c_str(), isDirectory)) return {};  // why it is missing shows when it is made
    if (!isDirectory) return ENOTDIR;
    existing = next;
  }
  return {};
}

}  // namespace

Error EnsureDirectoryChain(const char* path) {
  if (!path) return EFAULT;
  const std::vector<std::string> components = ComponentsOf(path);
  std::string existing = *path == '/' ? "/" : "";
  std::size_t count = 0;
  if (const Error error = FindExisting(components, existing, count)) return error;

  FileDescriptor directory;
  const auto open = [&directory](const char* name) { return Open(AT_FDCWD, name, kLookUp, directory); };
  if (const Error error = OnPath(existing.empty() ? "." : existing.c_str(), open)) return error;
  Level level;
  if (const Error error = ReadLevel(std::move(directory), EffectiveUser(), level)) return error;
  for (; count < components.size(); ++count) {
    Level made;
    if (const Error error = MakeOrOpen(level, components[count].c_str(), made)) return error;
    level = std::move(made);
  }
  return {};
}

}  // namespace quill::darwin
