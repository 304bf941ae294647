// Listing a directory of 100,000 entries: name and whether it is a directory.
#include "bench/Listing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>

#include "bench/Support.h"
#include "standalone/StandaloneFileManager.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

/// Nineteen files for each directory, one link to a file for every five directories.
fs::path MakeLargeDirectory() {
  fs::path directory = Scratch("large-directory");
  fs::create_directory(directory);
  for (int entry = 0; entry < kListedEntries; ++entry) {
    const fs::path path = directory / ("some ordinary name " + std::to_string(entry) + ".txt");
    if (entry % 100 == 0) {
      fs::create_symlink("some ordinary name 1.txt", path);
    } else if (entry % 20 == 0) {
      fs::create_directory(path);
    } else {
      MakeFile(path, 0);
    }
  }
  return directory;
}

/// The kind has to be asked again for a directory, which may be gone by now, and for a link, whose target's kind the
/// listing does not have.
bool IsDirectory(DIR* directory, const dirent& entry) {
  if (entry.d_type != DT_DIR && entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return false;
  struct stat status;
  return ::fstatat(::dirfd(directory), entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

Listed ListByReaddir(const fs::path& path) {
  Listed listed;
  DIR* const directory = ::opendir(path.c_str());
  while (const dirent* const entry = ::readdir(directory)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    listed.Add(name, IsDirectory(directory, *entry));
  }
  ::closedir(directory);
  return listed;
}

Listed ListByLayer(const fs::path& path) {
  Listed listed;
  quill::StandaloneFileManager manager;
  FindFileInfo info;
  QuillFileFindRef* const handle = manager.FindFirst(PathString(path), info);
  for (bool more = handle; more; more = manager.FindNext(handle, info)) {
    listed.Add(info.path.getUTF8(), info.type == kQuillFileTypeDirectory);
  }
  (void)manager.FindClose(handle);
  return listed;
}

Listed ListByStandard(const fs::path& path) {
  Listed listed;
  for (const auto& entry : fs::directory_iterator(path)) {
    listed.Add(entry.path().filename().native(), entry.is_directory());
  }
  return listed;
}

}  // namespace

const fs::path& LargeDirectory() {
  static const fs::path directory = MakeLargeDirectory();
  return directory;
}

void RegisterListing(const char* contestant, Listed (*list)(const fs::path&)) {
  const auto name = Sized(std::string("BM_List/").append(contestant), kListedEntries);
  const auto prepare = [] { (void)LargeDirectory(); };
  RegisterPrepared(name, prepare, [=] {
    const Listed listed = list(LargeDirectory());
    Require(listed.entries == kListedEntries, "a complete listing");
    benchmark::DoNotOptimize(listed);
  });
}

void RegisterListing() {
  RegisterListing("layer", ListByLayer);
  RegisterListing("bare", ListByReaddir);
  RegisterListing("std", ListByStandard);
}

}  // namespace bench
