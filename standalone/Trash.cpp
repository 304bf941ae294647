#include "standalone/Trash.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <optional>
#include <string_view>

#include "host/CoreFileManager.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/paths/CanonicalPath.h"
#include "platform/darwin/paths/DirectoryCalls.h"
#include "platform/darwin/paths/ExclusiveFile.h"
#include "platform/darwin/paths/ItemStatus.h"
#include "platform/darwin/paths/PathCalls.h"
#include "platform/darwin/paths/VolumeStatus.h"
#include "platform/darwin/trees/Trees.h"
#include "platform/darwin/user/LocalTime.h"
#include "standalone/BaseDirectories.h"

namespace quill {

namespace {

/// A place that has the directories "files" and "info".
struct TrashPlace {
  std::string directory;
  /// What the recorded paths are relative to, without the separator at its end; absent when they are absolute.
  std::optional<std::string> top;
};

/// Where an item lies, free of links above its last component.
struct TrashedItem {
  std::string directory;
  std::string name;

  std::string Path() const { return (directory == "/" ? directory : directory + '/') + name; }
};

int Locate(const char* path, TrashedItem& item) {
  std::string_view text = path;
  while (text.ends_with('/')) text.remove_suffix(1);
  const std::size_t separator = text.find_last_of('/');
  item.name = text.substr(separator + 1);  // no separator: everything
  if (item.name.empty() || item.name == "." || item.name == "..") return EINVAL;

  const std::string above = separator == std::string_view::npos ? "." : std::string(text.substr(0, separator + 1));
  if (const int error = darwin::CanonicalPath(above.c_str(), item.directory); error != 0) return error;
  darwin::ItemStatus status;
  if (const int error = darwin::GetItemStatus(item.Path().c_str(), darwin::FinalLink::kItself, status); error != 0) {
    return error;
  }
  // The record must name the item by the bytes under which it stands, else a restored item would have another name.
  const auto equivalent = darwin::EquivalentPath(item.Path().c_str());
  if (equivalent) item.name = equivalent->substr(equivalent->find_last_of('/') + 1);
  return 0;
}

int Prepare(const std::string& directory) {
  for (const char* below : {"/files", "/info"}) {
    if (const int error = darwin::EnsureOwnDirectory((directory + below).c_str()); error != 0) return error;
  }
  return 0;
}

int PrepareHomeTrash(CoreFileManager& manager, TrashPlace& place) {
  QuillFileString data;
  if (!FindBaseDirectory(manager, kDataDirectory, data)) return ENOENT;
  if (!manager.DirEnsure(data)) return EACCES;
  data.appendLeaf("Trash");
  place = {data.getUTF8(), std::nullopt};
  // In the home directory the user may have made a link of it; anywhere else a link is a trap.
  if (!manager.FileIsDir(data)) {
    if (const int error = darwin::EnsureOwnDirectory(data.getUTF8()); error != 0) return error;
  }
  return Prepare(place.directory);
}

/// The trash that the administrator made for everybody: a real directory with the sticky bit.
bool PrepareSharedTrash(const std::string& top, const std::string& user, TrashPlace& place) {
  constexpr std::uint32_t kSticky = 01000;
  const std::string shared = top + "/.Trash";
  darwin::ItemStatus status;
  if (darwin::GetItemStatus(shared.c_str(), darwin::FinalLink::kItself, status) != 0) return false;
  if (!status.IsDirectory() || (status.mode & kSticky) == 0) return false;
  place = {shared + '/' + user, top};
  return darwin::EnsureOwnDirectory(place.directory.c_str()) == 0 && Prepare(place.directory) == 0;
}

bool PrepareVolumeTrash(const std::string& volumeRoot, TrashPlace& place) {
  const std::string top = volumeRoot == "/" ? std::string() : volumeRoot;
  const std::string user = std::to_string(darwin::EffectiveUser());
  if (PrepareSharedTrash(top, user, place)) return true;
  place = {top + "/.Trash-" + user, top};
  return darwin::EnsureOwnDirectory(place.directory.c_str()) == 0 && Prepare(place.directory) == 0;
}

int ChoosePlace(CoreFileManager& manager, const TrashedItem& item, TrashPlace& place) {
  std::string itemVolume, homeVolume;
  if (const int error = darwin::VolumeRoot(item.directory.c_str(), itemVolume); error != 0) return error;
  const int homeError = PrepareHomeTrash(manager, place);
  const bool isHomeVolume =
      homeError == 0 && darwin::VolumeRoot(place.directory.c_str(), homeVolume) == 0 && homeVolume == itemVolume;
  if (isHomeVolume) return 0;

  TrashPlace onVolume;
  if (!PrepareVolumeTrash(itemVolume, onVolume)) return homeError;
  place = onVolume;
  return 0;
}

/// Every byte but the unreserved characters of RFC 2396 and "/" as an escape.
std::string PercentEncoded(std::string_view path) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  constexpr std::string_view kKept = "/-_.!~*'()";
  std::string result;
  for (const char character : path) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x80 && (std::isalnum(byte) || kKept.find(character) != std::string_view::npos)) {
      result += character;
      continue;
    }
    result.append({'%', kDigits[byte >> 4], kDigits[byte & 0xf]});
  }
  return result;
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

}  // namespace

int MoveToTrash(CoreFileManager& manager, const char* path, std::string& trashed) {
  TrashedItem item;
  if (const int error = Locate(path, item); error != 0) return error;
  TrashPlace place;
  if (const int error = ChoosePlace(manager, item, place); error != 0) return error;

  const std::string record = Record(item, place);
  for (int attempt = 1;; ++attempt) {
    const std::string name = NameInTrash(item.name, attempt);
    const std::string info = place.directory + "/info/" + name + ".trashinfo";
    const std::string target = place.directory + "/files/" + name;
    // The record is made first, and exclusively: it reserves the name.
    int error = darwin::CreateExclusively(info.c_str(), record);
    if (error == EEXIST) continue;
    if (error != 0) return error;
    error = darwin::MoveTree(item.Path().c_str(), target.c_str());
    if (error == 0) {
      trashed = target;
      return 0;
    }
    // What has come from another file system, but could not go there as a whole, lies in the trash all the same.
    darwin::ItemStatus arrived;
    if (error != EEXIST && darwin::GetItemStatus(target.c_str(), darwin::FinalLink::kItself, arrived) == 0)
      return error;
    (void)darwin::unlink(info.c_str());  // the reason of the move is the one to tell
    if (error != EEXIST) return error;
  }
}

}  // namespace quill
