#include "standalone/Trash.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>

#include "host/CoreFileManager.h"
#include "platform/darwin/descriptors/SystemCalls.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/names/PathText.h"
#include "platform/darwin/paths/Changes.h"
#include "platform/darwin/paths/Creating.h"
#include "platform/darwin/paths/Status.h"
#include "platform/darwin/paths/Volumes.h"
#include "platform/darwin/trees/Trees.h"
#include "platform/darwin/user/LocalTime.h"
#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/NSString.h"
#include "standalone/BaseDirectories.h"

namespace quill {
namespace {

using darwin::Error;

/// A trash directory, with the directories "files" and "info" in it.
struct TrashPlace {
  std::string directory;
  /// The directory that recorded paths are relative to, without a separator at its end; absent if they are absolute.
  std::optional<std::string> top;
};

/// The item's path without links above its last component.
struct TrashedItem {
  std::string directory;
  std::string name;

  std::string Path() const { return darwin::Join(directory, name); }
};

Error Locate(const char* path, TrashedItem& item) {
  item.name = darwin::LeafOf(path);
  if (item.name.empty() || item.name == "." || item.name == "..") return EINVAL;
  const std::string above(darwin::ParentOf(path));
  if (const Error error = darwin::GetCanonicalPath(above.c_str(), item.directory)) return error;
  darwin::ItemStatus status;
  const std::string whole = item.Path();
  if (const Error error = darwin::GetStatus(whole.c_str(), darwin::FinalLink::kItself, status)) return error;
  // The record must have the exact bytes of the item's name, or a restored item would get another name.
  std::string equivalent;
  const Error missing = darwin::FindEquivalentPath(whole.c_str(), equivalent);
  if (missing) return missing == ENOENT ? Error() : missing;
  item.name = darwin::LeafOf(equivalent);
  return {};
}

Error Prepare(const std::string& directory) {
  for (const char* below : {"/files", "/info"}) {
    if (const Error error = darwin::EnsureOwnDirectory((directory + below).c_str())) return error;
  }
  return {};
}

Error PrepareHomeTrash(CoreFileManager& manager, TrashPlace& place) {
  const auto data = DataDirectory(manager);
  if (!data) return ENOENT;
  if (!manager.DirEnsure(PathFrom(*data))) return EACCES;
  place = {darwin::Join(*data, "Trash"), std::nullopt};
  // In the home directory the user may have replaced it by a link; anywhere else a link may be an attack.
  if (!manager.FileIsDir(PathFrom(place.directory))) {
    if (const Error error = darwin::EnsureOwnDirectory(place.directory.c_str())) return error;
  }
  return Prepare(place.directory);
}

/// The trash that the administrator created for all users: a real directory with the sticky bit.
bool PrepareSharedTrash(const std::string& top, const std::string& user, TrashPlace& place) {
  const std::string shared = top + "/.Trash";
  darwin::ItemStatus status;
  if (darwin::GetStatus(shared.c_str(), darwin::FinalLink::kItself, status)) return false;
  if (!status.IsDirectory() || (status.mode & S_ISVTX) == 0) return false;
  place = {shared + '/' + user, top};
  return !darwin::EnsureOwnDirectory(place.directory.c_str()) && !Prepare(place.directory);
}

bool PrepareVolumeTrash(const std::string& volumeRoot, TrashPlace& place) {
  const std::string top = volumeRoot == "/" ? std::string() : volumeRoot;
  const std::string user = std::to_string(darwin::EffectiveUser());
  if (PrepareSharedTrash(top, user, place)) return true;
  place = {top + "/.Trash-" + user, top};
  return !darwin::EnsureOwnDirectory(place.directory.c_str()) && !Prepare(place.directory);
}

Error ChoosePlace(CoreFileManager& manager, const TrashedItem& item, TrashPlace& place) {
  std::string itemVolume, homeVolume;
  if (const Error error = darwin::GetVolumeRoot(item.directory.c_str(), itemVolume)) return error;
  const Error homeError = PrepareHomeTrash(manager, place);
  const bool isHomeVolume =
      !homeError && !darwin::GetVolumeRoot(place.directory.c_str(), homeVolume) && homeVolume == itemVolume;
  if (isHomeVolume) return {};

  TrashPlace onVolume;
  if (!PrepareVolumeTrash(itemVolume, onVolume)) return homeError;
  place = onVolume;
  return {};
}

/// Escapes every byte except the unreserved characters of RFC 2396 and "/".
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

/// The name for the n-th attempt, short enough that the record's name fits as well.
std::string NameInTrash(const std::string& name, int attempt) {
  constexpr std::size_t kLongest = 255 - std::string_view(".trashinfo").size();
  const std::string suffix = attempt == 1 ? std::string() : '.' + std::to_string(attempt);
  std::size_t kept = std::min(name.size(), kLongest - suffix.size());
  const auto isInsideCharacter = [&] { return kept < name.size() && (name[kept] & '\xc0') == '\x80'; };
  while (kept > 0 && isInsideCharacter()) --kept;
  return name.substr(0, kept) + suffix;
}

}  // namespace

Error MoveToTrash(CoreFileManager& manager, const char* path, std::string& trashed) {
  TrashedItem item;
  if (const Error error = Locate(path, item)) return error;
  TrashPlace place;
  if (const Error error = ChoosePlace(manager, item, place)) return error;

  const std::string record = Record(item, place);
  for (int attempt = 1;; ++attempt) {
    const std::string name = NameInTrash(item.name, attempt);
    const std::string info = place.directory + "/info/" + name + ".trashinfo";
    const std::string target = place.directory + "/files/" + name;
    // Create the record first, and exclusively: it reserves the name.
    Error error = darwin::CreateExclusively(info.c_str(), record);
    if (error == EEXIST) continue;
    if (error) return error;
    error = darwin::MoveTree(item.Path().c_str(), target.c_str());
    if (!error) {
      trashed = target;
      return {};
    }
    // A move from another file system may fail when only its source could not be removed completely. The item is in the
    // trash all the same.
    darwin::ItemStatus arrived;
    const bool hasArrived = !darwin::GetStatus(target.c_str(), darwin::FinalLink::kItself, arrived);
    if (error != EEXIST && hasArrived) return error;
    (void)darwin::RemoveFile(info.c_str());  // the reason of the move is the one to report
    if (error != EEXIST) return error;
  }
}

}  // namespace quill
