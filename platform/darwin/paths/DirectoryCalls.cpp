#include "platform/darwin/paths/DirectoryCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "platform/darwin/descriptors/DirectoryReader.h"
#include "platform/darwin/descriptors/OwnDirectory.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/paths/ItemStatus.h"
#include "platform/darwin/paths/OpenFile.h"

namespace quill::darwin {
namespace {

int MakeOwnDirectory(const char* path) {
  if (::mkdir(path, S_IRWXU) != 0) return errno;
  const FileDescriptor made = OpenOwnDirectoryAt(AT_FDCWD, path);
  return made ? GiveOwnerRights(made.get()) : errno;
}

int EnsureDirectory(const char* path, ::mode_t allowedToOthers) {
  const std::string place = PathForCreation(path);
  if (const int error = MakeOwnDirectory(place.c_str()); error != EEXIST) return error;

  ItemStatus status;
  if (const int error = GetItemStatus(place.c_str(), FinalLink::kItself, status); error != 0) return error;
  const ::mode_t refused = (S_IRWXG | S_IRWXO) & ~allowedToOthers;
  const bool isFit = status.IsDirectory() && status.owner == EffectiveUser() && (status.mode & refused) == 0;
  return isFit ? 0 : EACCES;
}

}  // namespace

int MakeDirectory(const char* path) {
  constexpr mode_t kOpenToEveryone = 0777;
  return ::mkdir(PathForCreation(path).c_str(), kOpenToEveryone) == 0 ? 0 : errno;
}

int IsEmptyDirectory(const char* path, bool& empty) {
  FileDescriptor directory = OpenDirectory(path);
  if (!directory) return errno;

  DirectoryReader reader(std::move(directory));
  const bool hasEntry = reader.Next() != nullptr;
  if (!hasEntry && reader.error() != 0) return reader.error();
  empty = !hasEntry;
  return 0;
}

int SetCurrentDirectory(const char* path) {
  return OnItem(path, [](const char* item) { return ::chdir(item); }) == 0 ? 0 : errno;
}

int EnsureOwnDirectory(const char* path) { return EnsureDirectory(path, /*allowedToOthers=*/S_IRWXG | S_IRWXO); }

int EnsurePrivateDirectory(const char* path) { return EnsureDirectory(path, /*allowedToOthers=*/0); }

unsigned EffectiveUser() noexcept { return ::geteuid(); }

}  // namespace quill::darwin
