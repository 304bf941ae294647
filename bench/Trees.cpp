// Whole trees and large files: copying, removing, ensuring. Every contestant finds the same source in the cache and no
// destination; its result is removed between the pieces, unmeasured.
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <memory>

#include "bench/BareTree.h"
#include "bench/Support.h"
#include "platform/darwin/descriptors/FileDescriptor.h"
#include "standalone/StandaloneFileManager.h"

namespace bench {
namespace {

namespace fs = std::filesystem;
using Source = const fs::path& (*)();
using Copy = std::function<void(const fs::path& from, const fs::path& to)>;

constexpr int kDirectories = 100;
constexpr int kFilesEach = 100;
constexpr std::size_t kSmall = 4096;
constexpr std::size_t kMebibyte = 1024 * 1024;
constexpr std::size_t kGibibyte = 1024 * kMebibyte;
constexpr std::size_t kPiece = 512 * 1024;

quill::StandaloneFileManager& Manager() {
  static quill::StandaloneFileManager manager;
  return manager;
}

/// Runs a program of the system and waits for it.
void RunProgram(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  int status = 1;
  Require(::posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0, arguments[0]);
  Require(::waitpid(child, &status, 0) == child && status == 0, arguments[0]);
}

const fs::path& SmallFiles() {
  static const fs::path tree = [] {
    fs::path root = Scratch("small-files");
    for (int directory = 0; directory < kDirectories; ++directory) {
      const fs::path place = root / ("directory" + std::to_string(directory));
      fs::create_directories(place);
      for (int file = 0; file < kFilesEach; ++file) MakeFile(place / ("file" + std::to_string(file)), kSmall);
    }
    return root;
  }();
  return tree;
}

const fs::path& FullFile() {
  static const fs::path file = [] {
    fs::path made = Scratch("full-file");
    MakeFile(made, kGibibyte);
    ::sync();
    return made;
  }();
  return file;
}

/// 1 GiB with a mebibyte of data every 100 MiB.
const fs::path& SparseFile() {
  static const fs::path file = [] {
    fs::path made = Scratch("sparse-file");
    MakeFile(made, 0);
    fs::resize_file(made, kGibibyte);
    std::fstream stream(made, std::ios::in | std::ios::out | std::ios::binary);
    const std::string data(kMebibyte, 'q');
    for (std::size_t island = 0; island < 10; ++island) {
      stream.seekp(static_cast<std::streamoff>(island * 100 * kMebibyte)).write(data.data(), kMebibyte);
    }
    stream.close();
    Require(stream.good(), "the sparse file");
    ::sync();
    return made;
  }();
  return file;
}

void RegisterCopy(const std::string& name, Source source, const Copy& copy) {
  const fs::path target = Scratch("copy");
  const auto prepare = [=] {
    (void)source();
    fs::remove_all(target);
  };
  RegisterPrepared(name, prepare, [=] { copy(source(), target); })->Iterations(1);
}

void RegisterRemoval(const std::string& name, const std::function<void(const fs::path&)>& remove) {
  const fs::path target = Scratch("removed");
  const auto prepare = [=] { CopyTreeByBareCalls(SmallFiles().c_str(), target.c_str()); };
  RegisterPrepared(name, prepare, [=] { remove(target); })->Iterations(1);
}

void CopyByLayer(const fs::path& from, const fs::path& to) {
  Require(Manager().FileOrDirCopy(PathString(from), PathString(to), /*clobber=*/false), "FileOrDirCopy");
}

void CopyByProgram(const fs::path& from, const fs::path& to) { RunProgram({"cp", "-a", from, to}); }

void CopyLargeByBareCalls(const fs::path& from, const fs::path& to) {
  CopyFileByBareCalls(from.c_str(), to.c_str(), kPiece);
}

void CopyLargeByKernel(const fs::path& from, const fs::path& to) {
  const quill::darwin::FileDescriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
  const quill::darwin::FileDescriptor target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  ssize_t got = 1;
  while (got > 0) got = ::copy_file_range(source.get(), nullptr, target.get(), nullptr, kGibibyte, 0);
  Require(got == 0, "copy_file_range");
}

void RegisterSmallFiles() {
  constexpr std::size_t kSize = kDirectories * kFilesEach;
  RegisterCopy(Sized("BM_CopyTree/layer", kSize), SmallFiles, CopyByLayer);
  RegisterCopy(Sized("BM_CopyTree/bare", kSize), SmallFiles,
               [](const fs::path& from, const fs::path& to) { CopyTreeByBareCalls(from.c_str(), to.c_str()); });
  RegisterCopy(Sized("BM_CopyTree/cp-a", kSize), SmallFiles, CopyByProgram);
  RegisterCopy(Sized("BM_CopyTree/std", kSize), SmallFiles,
               [](const fs::path& from, const fs::path& to) { fs::copy(from, to, fs::copy_options::recursive); });
  RegisterRemoval(Sized("BM_RemoveTree/layer", kSize), [](const fs::path& path) {
    Require(Manager().DirDeleteWithContents(PathString(path)), "DirDeleteWithContents");
  });
  RegisterRemoval(Sized("BM_RemoveTree/bare", kSize),
                  [](const fs::path& path) { RemoveTreeByBareCalls(path.c_str()); });
  RegisterRemoval(Sized("BM_RemoveTree/rm-rf", kSize), [](const fs::path& path) { RunProgram({"rm", "-rf", path}); });
  RegisterRemoval(Sized("BM_RemoveTree/std", kSize), [](const fs::path& path) { fs::remove_all(path); });
}

void RegisterLargeFiles() {
  for (const Source source : {FullFile, SparseFile}) {
    const std::string name = source == FullFile ? "BM_CopyFile" : "BM_CopySparseFile";
    RegisterCopy(Sized(name + "/layer", kGibibyte), source, CopyByLayer);
    RegisterCopy(Sized(name + "/bare", kGibibyte), source, CopyLargeByBareCalls);
    RegisterCopy(Sized(name + "/cp-a", kGibibyte), source, CopyByProgram);
    RegisterCopy(Sized(name + "/std", kGibibyte), source,
                 [](const fs::path& from, const fs::path& to) { fs::copy(from, to); });
  }
  RegisterCopy(Sized("BM_CopyFile/copy_file_range", kGibibyte), FullFile, CopyLargeByKernel);
}

void RegisterEnsure() {
  const fs::path top = Scratch("ensured");
  fs::path deep = top;
  for (int level = 1; level < 12; ++level) deep /= "level" + std::to_string(level);
  const auto prepare = [top] { fs::remove_all(top); };
  RegisterPrepared("BM_EnsureDirectory/layer/12", prepare,
                   [=] { Require(Manager().DirEnsure(PathString(deep)), "DirEnsure"); });
  RegisterPrepared("BM_EnsureDirectory/bare/12", prepare, [=] { EnsureByBareCalls(deep.c_str()); });
  RegisterPrepared("BM_EnsureDirectory/std/12", prepare, [=] { fs::create_directories(deep); });
}

}  // namespace

void RegisterTrees() {
  ::umask(022);  // the modes of the trees, so that no contestant has to change modes
  RegisterSmallFiles();
  RegisterLargeFiles();
  RegisterEnsure();
}

}  // namespace bench
