#include "standalone/Trash.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

#include "host/CoreFileManager.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/names/PathText.h"
#include "platform/darwin/paths/Creating.h"
#include "platform/darwin/paths/DirectoryChain.h"
#include "platform/darwin/paths/Volumes.h"
#include "platform/darwin/trees/TreePath.h"
#include "platform/darwin/trees/Trees.h"
#include "platform/darwin/user/LocalTime.h"
#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSString.h"
#include "standalone/BaseDirectories.h"

namespace quill {
namespace {

using darwin::Error;
using darwin::FileDescriptor;

/// A place that has the directories "files" and "info". What is in it is reached through their descriptors.
struct TrashPlace {
  std::string directory;
  /// What the recorded paths are relative to, without the separator at its end; absent when they are absolute.
  std::optional<std::string> top;
  FileDescriptor files;
  FileDescriptor info;
};

/// An item, and where it really is: free of links above its last component.
struct TrashedItem {
  darwin::MoveRequest move;
  std::string directory;

  std::string Path() const { return darwin::Join(directory, move.from.name); }
};

Error Locate(const char* path, TrashedItem& item) {
  const std::string_view name = darwin::LeafOf(path);
  if (name.empty() || name == "." || name == "..") return EINVAL;
  // The record must name the item by the bytes under which it is there, else a restored item would have another name.
  if (const Error error = darwin::FindItemToTake(path, item.move.from, item.move.source)) return error;
  return darwin::GetPathOf(item.move.from.parent.get(), item.directory);
}

Error OpenDirectory(int above, const char* name, int flags, FileDescriptor& directory) {
  return darwin::Open(above, name, O_PATH | O_DIRECTORY | flags, directory);
}

Error Prepare(const FileDescriptor& trash, TrashPlace& place) {
  if (const Error error = darwin::EnsureOwnDirectory(trash.get(), "files", place.files)) return error;
  return darwin::EnsureOwnDirectory(trash.get(), "info", place.info);
}

Error PrepareHomeTrash(CoreFileManager& manager, TrashPlace& place) {
  const auto data = DataDirectory(manager);
  if (!data) return ENOENT;
  if (const Error error = darwin::EnsureDirectoryChain(data->c_str())) return error;
  FileDescriptor above, trash;
  const auto open = [&](const char* path) { return OpenDirectory(AT_FDCWD, path, 0, above); };
  if (const Error error = darwin::OnPath(data->c_str(), open)) return error;
  // In the home directory the user may have made a link of it; anywhere else a link is a trap.
  if (OpenDirectory(above.get(), "Trash", 0, trash)) {
    if (const Error error = darwin::EnsureOwnDirectory(above.get(), "Trash", trash)) return error;
  }
  place.directory = darwin::Join(*data, "Trash");
  return Prepare(trash, place);
}

/// The trash that the administrator made for everybody. The sticky bit keeps users from exchanging what is another's,
/// but not the owner of the directory, so nobody but root may be that.
Error PrepareSharedTrash(const FileDescriptor& volume, const std::string& user, TrashPlace& place) {
  FileDescriptor shared, own;
  darwin::ItemStatus status;
  if (const Error error = OpenDirectory(volume.get(), ".Trash", O_NOFOLLOW, shared)) return error;
  if (const Error error = darwin::GetStatus(shared.get(), status)) return error;
  if (status.owner != 0 || (status.mode & S_ISVTX) == 0) return EACCES;
  if (const Error error = darwin::EnsureOwnDirectory(shared.get(), user.c_str(), own)) return error;
  place.directory = *place.top + "/.Trash/" + user;
  return Prepare(own, place);
}

Error PrepareUsersTrash(const FileDescriptor& volume, const std::string& user, TrashPlace& place) {
  const std::string name = ".Trash-" + user;
  FileDescriptor own;
  if (const Error error = darwin::EnsureOwnDirectory(volume.get(), name.c_str(), own)) return error;
  place.directory = *place.top + '/' + name;
  return Prepare(own, place);
}

/// Opens the directory at which the item's volume begins.
Error OpenVolume(const TrashedItem& item, std::string& root, FileDescriptor& volume) {
  darwin::ItemStatus status;
  if (const Error error = darwin::GetVolumeRoot(item.directory.c_str(), root)) return error;
  if (const Error error = OpenDirectory(AT_FDCWD, root.c_str(), O_NOFOLLOW, volume)) return error;
  if (const Error error = darwin::GetStatus(volume.get(), status)) return error;
  // The path can lead elsewhere by now. "/" is the root of what the process can see, if not of a mount.
  const bool isRoot = status.isMountRoot || root == "/";
  return isRoot && status.mount == item.move.source.mount ? Error() : Error::Replaced();
}

Error PrepareVolumeTrash(const TrashedItem& item, TrashPlace& place) {
  std::string root;
  FileDescriptor volume;
  if (const Error error = OpenVolume(item, root, volume)) return error;
  place.top = root == "/" ? std::string() : root;
  const std::string user = std::to_string(darwin::EffectiveUser());
  return PrepareSharedTrash(volume, user, place) ? PrepareUsersTrash(volume, user, place) : Error();
}

Error ChoosePlace(CoreFileManager& manager, const TrashedItem& item, TrashPlace& place) {
  const Error homeError = PrepareHomeTrash(manager, place);
  darwin::ItemStatus home;
  const bool isOnHomeVolume =
      !homeError && !darwin::GetStatus(place.files.get(), home) && home.mount == item.move.source.mount;
  if (isOnHomeVolume) return {};

  TrashPlace onVolume;
  if (PrepareVolumeTrash(item, onVolume)) return homeError;
  place = std::move(onVolume);
  return {};
}

/// Every byte but the unreserved characters of RFC 2396 and "/" as an escape.
std::string PercentEncoded(std::string_view path) {
  constexpr auto kKept = foundation::NSCharacterSet::characterSetWithCharactersInString(
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/-_.!~*'()");
  return std::string(foundation::NSString::PercentEncoded({}, path, kKept, {})->view());
}

std::string Record(const TrashedItem& item, const TrashPlace& place) {
  std::string path = item.Path();
  if (place.top) path.erase(0, place.top->size() + 1);
  return "[Trash Info]\nPath=" + PercentEncoded(path) + "\nDeletionDate=" + darwin::LocalTimestamp() + '\n';
}

/// The name for the n-th attempt, short enough for the record's name to be one.
std::string NameInTrash(const std::string& name, int attempt) {
  constexpr std::size_t kLongest = 255 - std::string_view(".trashinfo").size();
  const std::string suffix = attempt == 1 ? std::string() : '.' + std::to_string(attempt);
  std::size_t kept = std::min(name.size(), kLongest - suffix.size());
  const auto isInsideCharacter = [&] { return kept < name.size() && (name[kept] & '\xc0') == '\x80'; };
  while (kept > 0 && isInsideCharacter()) --kept;
  return name.substr(0, kept) + suffix;
}

bool HasArrived(const darwin::TreePath& target) {
  darwin::ItemStatus status;
  return !darwin::GetStatusOf(target.parent.get(), target.name.c_str(), darwin::FinalLink::kItself, status);
}

}  // namespace

Error MoveToTrash(CoreFileManager& manager, const char* path, std::string& trashed) {
  const std::string shortest(darwin::WithoutTrailingSlashes(path));
  TrashedItem item;
  if (const Error error = Locate(shortest.c_str(), item)) return error;
  TrashPlace place;
  if (const Error error = ChoosePlace(manager, item, place)) return error;

  const std::string record = Record(item, place);
  darwin::TreePath& target = item.move.to;
  target.parent = std::move(place.files);
  for (int attempt = 1;; ++attempt) {
    target.name = NameInTrash(item.move.from.name, attempt);
    const std::string info = target.name + ".trashinfo";
    // The record is made first, and exclusively: it reserves the name.
    Error error = darwin::CreateExclusively(place.info.get(), info, record);
    if (error == EEXIST) continue;
    if (error) return error;
    error = darwin::MoveTree(item.move);
    if (!error) {
      trashed = place.directory + "/files/" + target.name;
      return {};
    }
    // What has come from another file system, but could not go there as a whole, is in the trash all the same.
    if (error != EEXIST && HasArrived(target)) return error;
    (void)darwin::Unlink(place.info.get(), info.c_str());  // the reason of the move is the one to report
    if (error != EEXIST) return error;
  }
}

}  // namespace quill
