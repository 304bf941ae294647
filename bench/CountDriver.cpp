// Performs every operation once between two marks that a tracer of system calls can see, and counts the allocations
// itself. The marks, which counts.sh looks for, are writes to an invalid descriptor. Each operation first runs once
// unmeasured, so that the allocator and the library are set up.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>

#include "host/QuillFileBase.h"
#include "platform/foundation/NSString.h"
#include "standalone/StandaloneFileManager.h"

// glibc's allocator, under the names that glibc keeps for programs that replace malloc.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)

static unsigned long allocations = 0;

void* malloc(std::size_t size) noexcept {
  ++allocations;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
  ++allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept {
  ++allocations;
  return __libc_realloc(memory, size);
}
}

namespace {

namespace fs = std::filesystem;

/// A budget without a limit: the cost is only printed.
constexpr unsigned long kStated = 999999;

struct Budget {
  unsigned long calls;
  unsigned long allocations;
  /// How often a directory may be read on; that depends on the file system, so it only tells few from many.
  unsigned long lists = kStated;
};

void Mark(const char* text) { (void)::write(-1, text, std::strlen(text)); }

void Require(bool worked, const char* what) {
  if (worked) return;
  std::fprintf(stderr, "count driver: %s failed\n", what);
  std::exit(1);
}

/// Runs \p operation, which covers \p items, twice: once to warm up and once between the marks.
template <typename Operation>
void Count(const char* name, unsigned long items, Budget budget, Operation operation) {
  operation();
  char text[160];
  std::snprintf(text, sizeof text, "begin|%s|%lu|%lu|%lu|%lu", name, items, budget.calls, budget.allocations,
                budget.lists);
  Mark(text);
  const unsigned long before = allocations;
  operation();
  const unsigned long made = allocations - before;
  std::snprintf(text, sizeof text, "end|%lu", made);
  Mark(text);
  std::printf("%s|%lu|%lu\n", name, made, budget.allocations);
}

QuillFileString PathString(const fs::path& path) {
  QuillFileString result;
  result.setUTF8(path.c_str());
  return result;
}

void MakeFile(const fs::path& path, std::size_t size) { std::ofstream(path) << std::string(size, 'q'); }

/// A directory on a file system of this machine, where there is one.
struct InMemory {
  explicit InMemory(const fs::path& otherwise) {
    const fs::path memory = "/dev/shm";
    path = (fs::is_directory(memory) ? memory : otherwise) / ("quill-cost." + std::to_string(::getpid()));
    fs::create_directory(path);
  }
  InMemory(const InMemory&) = delete;
  InMemory& operator=(const InMemory&) = delete;
  ~InMemory() { fs::remove_all(path); }

  /// Returns when the next change will have another stamp.
  void Settle() const {
    struct stat status;
    std::timespec now{};
    do {
      Require(::stat(path.c_str(), &status) == 0 && ::clock_gettime(CLOCK_REALTIME_COARSE, &now) == 0, "the clock");
    } while (std::pair(now.tv_sec, now.tv_nsec) <= std::pair(status.st_ctim.tv_sec, status.st_ctim.tv_nsec));
  }

  fs::path path;
};

using ReadOnly = std::unique_ptr<IQuillFileReadOnly>;
using ReadWrite = std::unique_ptr<IQuillFileReadWriteTemp>;

class Driver {
 public:
  explicit Driver(fs::path scratch) : base(std::move(scratch)), file(base / "file"), path(PathString(file)) {
    MakeFile(file, kFileSize);
  }

  void Run() {
    Questions();
    Names();
    FileObject();
    Writing();
    Listing();
    ListingInNeitherForm();
    Directories();
    Trees();
  }

 private:
  void Questions() {
    long long size = 0;
    double created = 0;
    double modified = 0;
    Count("existence", 1, {1, 1}, [&] { Require(manager.FileExists(path), "FileExists"); });
    Count("kind", 1, {1, 1}, [&] { Require(!manager.FileIsDir(path), "FileIsDir"); });
    Count("size", 1, {1, 1}, [&] { Require(manager.FileGetSize(path, size), "FileGetSize"); });
    Count("dates", 1, {1, 1}, [&] { Require(manager.FileGetDates(path, created, modified), "FileGetDates"); });
    Count("platform string of a path", 1, {0, 1}, [&] {
      Require(static_cast<bool>(quill::foundation::NSString::stringWithUTF8String(path.getUTF8())), "NSString");
    });
  }

  void Names() {
    const fs::path composed = base / "caf\u00e9";
    MakeFile(composed, 1);
    const auto found = PathString(composed);
    const auto ascii = PathString(base / "missing");
    const auto formless = PathString(base / "\u6771\u4eac");
    Count("existence, composed name as given", 1, {1, 1}, [&] { Require(manager.FileExists(found), "FileExists"); });
    Count("existence, missing ASCII name", 1, {1, 1}, [&] { Require(!manager.FileExists(ascii), "a missing file"); });
    Count("existence, missing name of one form", 1, {1, kStated},
          [&] { Require(!manager.FileExists(formless), "a missing file"); });
    Count("existence, missing composed name", 1, {kStated, kStated}, [&] {
      const auto missing = PathString(base / "th\u00e9");
      Require(!manager.FileExists(missing), "a missing file");
    });
  }

  void FileObject() {
    ReadOnly open, warmUp;
    Count("open for reading", 1, {3, 3}, [&] {
      warmUp = std::move(open);  // keeps closing out of the count
      open.reset(manager.FileOpenReadOnly(path));
      Require(static_cast<bool>(open), "FileOpenReadOnly");
    });
    long long number = 0;
    Count("tell", 1, {0, 0}, [&] { Require(open->Tell(number), "Tell"); });
    Count("size of an open file", 1, {0, 0}, [&] { Require(open->Size(number), "Size"); });
    Count("seek", 1, {0, 0}, [&] { Require(open->Seek(0, kQuillFileSeekBegin, number), "Seek"); });
    char bytes[16];
    unsigned long got = 0;
    Count("sequential read", 1, {1, 0}, [&] { Require(open->Read(bytes, sizeof bytes, got) && got > 0, "Read"); });
    Count("read after seek", 1, {2, 0},
          [&] { Require(open->Seek(8, kQuillFileSeekBegin, number) && open->Read(bytes, sizeof bytes, got), "Read"); });
    ReadOnly other(manager.FileOpenReadOnly(path));
    Count("close", 1, {1, 0}, [&] {
      other.reset();
      other.swap(open);
    });
  }

  void Writing() {
    const ReadWrite open(manager.FileOpen(PathString(base / "written"), 0x13));
    Require(static_cast<bool>(open), "FileOpen");
    auto* const whole = static_cast<QuillFileBase*>(open.get());
    Count("write at the end", 1, {2, 0}, [&] { Require(whole->prvWrite("bytes", 5), "prvWrite"); });
    Count("append", 1, {3, 0}, [&] { Require(whole->prvAppend("bytes", 5), "prvAppend"); });
  }

  unsigned long List(const QuillFileString& directory) {
    FindFileInfo info;
    unsigned long entries = 0;
    QuillFileFindRef* const handle = manager.FindFirst(directory, info);
    for (bool more = handle; more; more = manager.FindNext(handle, info)) ++entries;
    (void)manager.FindClose(handle);
    return entries;
  }

  void Listing() {
    const fs::path files = base / "files";
    const fs::path links = base / "links";
    fs::create_directory(files);
    fs::create_directory(links);
    for (unsigned long entry = 0; entry < kEntries; ++entry) {
      MakeFile(files / ("entry" + std::to_string(entry)), 1);
      fs::create_symlink(file, links / ("entry" + std::to_string(entry)));
    }
    const auto ofFiles = PathString(files);
    const auto ofLinks = PathString(links);
    // Calls: existence, opening and closing. Allocations: the path, the reader, its buffer and the iterators.
    constexpr unsigned long kFixed = 4;
    constexpr unsigned long kFixedHeap = 6;
    Count("list files", kEntries, {kFixed, kFixedHeap}, [&] { Require(List(ofFiles) == kEntries, "a listing"); });
    Count("list links", kEntries, {kEntries + kFixed, kFixedHeap},
          [&] { Require(List(ofLinks) == kEntries, "a listing"); });
  }

  /// Names that have to be searched for, twice each: one reading of the directory serves all
  /// of them.
  void ListingInNeitherForm() {
    constexpr unsigned long kFixed = 16;
    for (const auto& [operation, letters] :
         {std::pair("ask about names of a few spellings", 1), std::pair("ask about names of many spellings", 8)}) {
      const InMemory directory(base);
      for (unsigned long entry = 0; entry < kEntries; ++entry) {
        std::string name = std::to_string(entry);
        for (int letter = 0; letter < letters; ++letter) name += "e\u0302\u0323";
        MakeFile(directory.path / name, 1);
      }
      directory.Settle();
      Count(operation, kEntries, {4 * kEntries + kFixed, kStated, kFixed}, [&] { AskAboutEntries(directory.path); });
      if (letters == 1) continue;
      const auto missing = PathString(directory.path / "\u1ec7\u1ec7\u1ec7\u1ec7\u1ec7\u1ec7\u1ec7\u1ec7");
      Count("existence, missing name of many spellings", 1, {3, kStated, 0},
            [&] { Require(!manager.FileExists(missing), "a missing file"); });
    }
  }

  void AskAboutEntries(const fs::path& directory) {
    FindFileInfo info;
    QuillFileFindRef* const handle = manager.FindFirst(PathString(directory), info);
    for (bool more = handle; more; more = manager.FindNext(handle, info)) {
      const auto entry = PathString(directory / info.path.getUTF8());
      long long size = 0;
      Require(!manager.FileIsDir(entry) && manager.FileGetSize(entry, size) && size == 1, "FileGetSize");
    }
    (void)manager.FindClose(handle);
  }

  void Directories() {
    int round = 0;
    const auto existing = static_cast<unsigned long>(std::distance(base.begin(), base.end()));
    // One call for the path, one for each level that exists, five to open the last of these and ask what it hands down,
    // and to close it; for each missing level, one to create it and one to ask for its metadata.
    Count("ensure a directory, missing levels", kLevels, {1 + existing + 1 + 4 + 2 * kLevels + 1, kStated}, [&] {
      fs::path deep = base / ("ensured" + std::to_string(round++));
      for (unsigned long level = 1; level < kLevels; ++level) deep /= "level";
      Require(manager.DirEnsure(PathString(deep)), "DirEnsure");
    });
    // Created, given its permissions and closed.
    Count("create a temporary file", 1, {3, kStated}, [&] {
      QuillFileString made;
      Require(manager.FileCreateTemp(made), "FileCreateTemp");
    });
  }

  void Trees() {
    const fs::path tree = base / "tree";
    fs::create_directory(tree);
    for (unsigned long entry = 0; entry < kEntries; ++entry) MakeFile(tree / std::to_string(entry), kFileSize);
    const auto source = PathString(tree);
    int round = 0;
    const auto copyName = [&](int number) { return PathString(base / ("copy" + std::to_string(number))); };
    Count("copy a tree of small files", kEntries, {11 * kEntries + 4 * kTreeCalls, kStated},
          [&] { Require(manager.FileOrDirCopy(source, copyName(round++), /*clobber=*/false), "FileOrDirCopy"); });
    Count("remove a tree of files", kEntries, {kEntries + kTreeCalls, kStated},
          [&] { Require(manager.DirDeleteWithContents(copyName(--round)), "DirDeleteWithContents"); });
  }

  static constexpr std::size_t kFileSize = 4096;
  static constexpr unsigned long kEntries = 200;
  static constexpr unsigned long kLevels = 12;
  /// The cost of the root of a tree, without its entries.
  static constexpr unsigned long kTreeCalls = 16;

  quill::StandaloneFileManager manager;
  fs::path base;
  fs::path file;
  QuillFileString path;
};

}  // namespace

int main() {
  // Numbered, not random: a K, which the Kelvin sign is equivalent to, would cost every missing path one more call.
  const std::string scratch = fs::temp_directory_path() / ("quill-cost." + std::to_string(::getpid()));
  ::umask(022);
  Require(::mkdir(scratch.c_str(), 0755) == 0 && ::setenv("TMPDIR", scratch.c_str(), 1) == 0, "setting up");
  Driver(scratch).Run();
  fs::remove_all(scratch);
}
