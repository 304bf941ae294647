// Questions about a path.
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>

#include "bench/Support.h"
#include "standalone/StandaloneFileManager.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

bool AskDates(const char* path, double& created, double& modified) {
  struct statx found;
  if (::statx(AT_FDCWD, path, 0, STATX_BASIC_STATS | STATX_BTIME, &found) != 0) return false;
  created = static_cast<double>(found.stx_btime.tv_sec) * 1e3 + found.stx_btime.tv_nsec * 1e-6;
  modified = static_cast<double>(found.stx_mtime.tv_sec) * 1e3 + found.stx_mtime.tv_nsec * 1e-6;
  return true;
}

void RegisterLayer(const std::shared_ptr<quill::StandaloneFileManager>& manager, const fs::path& file) {
  const auto path = PathString(file);
  Register("BM_Exists/layer", [=] { return manager->FileExists(path); });
  Register("BM_IsDirectory/layer", [=] { return manager->FileIsDir(path); });
  Register("BM_Size/layer", [=] {
    long long size = 0;
    Require(manager->FileGetSize(path, size), "FileGetSize");
    return size;
  });
  Register("BM_Dates/layer", [=] {
    double created = 0;
    double modified = 0;
    Require(manager->FileGetDates(path, created, modified), "FileGetDates");
    return created + modified;
  });
}

void RegisterBare(const fs::path& file) {
  Register("BM_Exists/bare", [=] {
    struct stat found;
    return ::stat(file.c_str(), &found) == 0;
  });
  Register("BM_IsDirectory/bare", [=] {
    struct stat found;
    return ::stat(file.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
  });
  Register("BM_Size/bare", [=] {
    struct stat found;
    Require(::stat(file.c_str(), &found) == 0, "stat");
    return found.st_size;
  });
  Register("BM_Dates/bare", [=] {
    double created = 0;
    double modified = 0;
    Require(AskDates(file.c_str(), created, modified), "statx");
    return created + modified;
  });
}

void RegisterStandard(const fs::path& file) {
  // Starts from text, since that is how programs keep their paths.
  const std::string text = file;
  Register("BM_Exists/std", [=] { return fs::exists(text); });
  Register("BM_IsDirectory/std", [=] { return fs::is_directory(text); });
  Register("BM_Size/std", [=] { return fs::file_size(text); });
  Register("BM_Dates/std", [=] { return fs::last_write_time(text); });
}

}  // namespace

void RegisterStatus() {
  const fs::path file = Scratch("status-file");
  MakeFile(file, 4096);
  RegisterLayer(std::make_shared<quill::StandaloneFileManager>(), file);
  RegisterBare(file);
  RegisterStandard(file);
}

}  // namespace bench
