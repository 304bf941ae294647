// Opening, reading and writing files.
#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <random>
#include <vector>

#include "bench/Support.h"
#include "platform/darwin/descriptors/FileDescriptor.h"
#include "standalone/StandaloneFileManager.h"

namespace bench {
namespace {

namespace fs = std::filesystem;
using quill::darwin::FileDescriptor;
using ReadOnly = std::unique_ptr<IQuillFileReadOnly>;
using ReadWrite = std::unique_ptr<IQuillFileReadWriteTemp>;
using AppendOnly = std::unique_ptr<IQuillFileAppendOnly>;

constexpr std::size_t kPage = 4096;
constexpr std::size_t kChunk = 64 * 1024;
constexpr std::size_t kLarge = 256 * 1024 * 1024;
constexpr int kRandomReads = 1000;
constexpr int kAppends = 1024;

quill::StandaloneFileManager& Manager() {
  static quill::StandaloneFileManager manager;
  return manager;
}

char* Buffer() {
  static std::vector<char> buffer(kChunk, 'q');
  return buffer.data();
}

FileDescriptor Open(const fs::path& path, int flags) {
  FileDescriptor file(::open(path.c_str(), flags | O_CLOEXEC, 0644));
  Require(file.IsOpen(), path.c_str());
  return file;
}

std::fstream OpenStream(const fs::path& path, std::ios::openmode mode) {
  std::fstream stream(path, mode | std::ios::binary);
  Require(stream.is_open(), path.c_str());
  return stream;
}

/// Where random reads begin: the same positions for every contestant.
std::vector<long long> RandomOffsets() {
  std::mt19937 random(1);
  std::uniform_int_distribution<long long> page(0, kLarge / kPage - 1);
  std::vector<long long> offsets(kRandomReads);
  for (long long& offset : offsets) offset = page(random) * static_cast<long long>(kPage);
  return offsets;
}

void ReadAt(IQuillFileReadOnly& file, long long offset) {
  long long position = 0;
  unsigned long got = 0;
  Require(file.Seek(offset, kQuillFileSeekBegin, position) && file.Read(Buffer(), kPage, got) && got == kPage, "Read");
}

void RegisterOpening(const fs::path& file) {
  const auto path = PathString(file);
  Register("BM_OpenReadClose/layer/4096", [=] {
    const ReadOnly open(Manager().FileOpenReadOnly(path));
    unsigned long got = 0;
    Require(open && open->Read(Buffer(), kPage, got), "FileOpenReadOnly");
    return got;
  });
  Register("BM_OpenReadClose/bare/4096", [=] { return ::read(Open(file, O_RDONLY).get(), Buffer(), kPage); });
  Register("BM_OpenReadClose/std/4096", [=] {
    auto stream = OpenStream(file, std::ios::in);
    stream.read(Buffer(), kPage);
    return stream.gcount();
  });
  Register("BM_OpenSizeClose/layer", [=] {
    const ReadOnly open(Manager().FileOpenReadOnly(path));
    long long size = 0;
    Require(open && open->Size(size), "Size");
    return size;
  });
  Register("BM_OpenSizeClose/bare", [=] { return ::lseek(Open(file, O_RDONLY).get(), 0, SEEK_END); });
  Register("BM_OpenSizeClose/std", [=] { return OpenStream(file, std::ios::in | std::ios::ate).tellg() != 0; });
}

void RegisterSequentialRead(const fs::path& large) {
  constexpr std::size_t kSize = kLarge;
  const auto nothing = [] {};
  RegisterPrepared(Sized("BM_SequentialRead/layer", kSize), nothing, [path = PathString(large)] {
    const ReadOnly open(Manager().FileOpenReadOnly(path));
    for (unsigned long got = 1; got > 0;) Require(open->Read(Buffer(), kChunk, got), "Read");
  });
  RegisterPrepared(Sized("BM_SequentialRead/bare", kSize), nothing, [large] {
    const auto file = Open(large, O_RDONLY);
    for (ssize_t got = 1; got > 0;) Require((got = ::read(file.get(), Buffer(), kChunk)) >= 0, "read");
  });
  RegisterPrepared(Sized("BM_SequentialRead/std", kSize), nothing, [large] {
    auto stream = OpenStream(large, std::ios::in);
    while (stream.read(Buffer(), kChunk)) benchmark::ClobberMemory();
  });
}

void RegisterSequentialWrite(const fs::path& target) {
  constexpr std::size_t kSize = kLarge;
  // Overwrites cached data, so that neither the disk nor the allocation of blocks is measured.
  const auto nothing = [] {};
  RegisterPrepared(Sized("BM_SequentialWrite/layer", kSize), nothing, [path = PathString(target)] {
    const ReadWrite open(Manager().FileOpen(path, kQuillOpenRead | kQuillOpenWrite));
    for (std::size_t done = 0; done < kLarge; done += kChunk) Require(open->Write(Buffer(), kChunk), "Write");
  });
  RegisterPrepared(Sized("BM_SequentialWrite/bare", kSize), nothing, [target] {
    const auto file = Open(target, O_RDWR);
    for (std::size_t done = 0; done < kLarge; done += kChunk) {
      Require(::write(file.get(), Buffer(), kChunk) == static_cast<ssize_t>(kChunk), "write");
    }
  });
  RegisterPrepared(Sized("BM_SequentialWrite/std", kSize), nothing, [target] {
    auto stream = OpenStream(target, std::ios::in | std::ios::out);
    for (std::size_t done = 0; done < kLarge; done += kChunk) stream.write(Buffer(), kChunk);
    Require(stream.good(), "write");
  });
}

void RegisterRandomRead(const fs::path& large) {
  constexpr std::size_t kSize = kRandomReads;
  const auto offsets = RandomOffsets();
  const std::shared_ptr<IQuillFileReadOnly> open(Manager().FileOpenReadOnly(PathString(large)));
  Register(Sized("BM_RandomRead/layer", kSize), [=] {
    for (const long long offset : offsets) ReadAt(*open, offset);
    return true;
  });
  const auto file = std::make_shared<FileDescriptor>(Open(large, O_RDONLY));
  Register(Sized("BM_RandomRead/bare", kSize), [=] {
    for (const long long offset : offsets) {
      Require(::lseek(file->get(), offset, SEEK_SET) == offset && ::read(file->get(), Buffer(), kPage) == kPage,
              "read");
    }
    return true;
  });
  const auto stream = std::make_shared<std::fstream>(OpenStream(large, std::ios::in));
  Register(Sized("BM_RandomRead/std", kSize), [=] {
    for (const long long offset : offsets) Require(stream->seekg(offset).read(Buffer(), kPage).good(), "read");
    return true;
  });
}

void RegisterAppend(const fs::path& target) {
  // Each measured piece makes kAppends appends to an empty file.
  constexpr std::size_t kSize = kPage;
  const auto empty = [target] { (void)Open(target, O_WRONLY | O_CREAT | O_TRUNC); };
  empty();
  const std::shared_ptr<IQuillFileAppendOnly> open(Manager().FileOpenAppend(PathString(target), kQuillKeepOnOpen));
  RegisterPrepared(Sized("BM_Append/layer", kSize), empty, [=] {
    for (int append = 0; append < kAppends; ++append) Require(open->Append(Buffer(), kPage), "Append");
  });
  const auto file = std::make_shared<FileDescriptor>(Open(target, O_WRONLY | O_APPEND));
  RegisterPrepared(Sized("BM_Append/bare", kSize), empty, [=] {
    for (int append = 0; append < kAppends; ++append) {
      Require(::write(file->get(), Buffer(), kPage) == static_cast<ssize_t>(kPage), "write");
    }
  });
  const auto stream = std::make_shared<std::fstream>(OpenStream(target, std::ios::app | std::ios::out));
  RegisterPrepared(Sized("BM_Append/std", kSize), empty, [=] {
    for (int append = 0; append < kAppends; ++append) stream->write(Buffer(), kPage).flush();
    Require(stream->good(), "write");
  });
}

}  // namespace

void RegisterFiles() {
  const fs::path small = Scratch("small-file");
  MakeFile(small, kPage);
  RegisterOpening(small);

  const fs::path large = Scratch("large-file");
  MakeFile(large, kLarge);
  RegisterSequentialRead(large);
  RegisterSequentialWrite(large);
  RegisterRandomRead(large);
  RegisterAppend(Scratch("appended-file"));
}

}  // namespace bench
