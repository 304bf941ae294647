// When memory runs out anywhere in an operation, the exception leaves nothing leaked or open behind, and the next
// attempt works.

#include <cstdlib>
#include <filesystem>
#include <new>

#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

namespace {

long allocationsLeft = -1;  // negative: as many as are asked for
bool isRefusedOnce = false;
long living = 0;
bool wasRefused = false;

}  // namespace

// Not inlined: the compiler would see memory of malloc in an operator delete.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (allocationsLeft == 0) {
    wasRefused = true;
    if (isRefusedOnce) allocationsLeft = -1;
    throw std::bad_alloc();
  }
  if (allocationsLeft > 0) --allocationsLeft;
  void* const memory = std::malloc(size ? size : 1);
  if (!memory) throw std::bad_alloc();
  ++living;
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  if (memory) --living;
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace quill_test {
namespace {

namespace fs = std::filesystem;

constexpr std::pair<const char*, bool (CoreFileManager::*)(QuillFileString&)> kPlaces[] = {
    {"DirGetLogDir", &CoreFileManager::DirGetLogDir},
    {"DirGetCurrent", &CoreFileManager::DirGetCurrent},
    {"DirGetDownloads", &CoreFileManager::DirGetDownloads},
    {"DirGetUserHomePath", &CoreFileManager::DirGetUserHomePath},
    {"DirGetUser", &CoreFileManager::DirGetUser},
    {"DirGetDesktop", &CoreFileManager::DirGetDesktop},
    {"DirGetDocuments", &CoreFileManager::DirGetDocuments},
    {"DirGetAppData", &CoreFileManager::DirGetAppData},
    {"DirGetAppResourceDir", &CoreFileManager::DirGetAppResourceDir},
    {"DirGetCache", &CoreFileManager::DirGetCache},
    {"DirGetTemp", &CoreFileManager::DirGetTemp},
    {"FileCreateTemp", &CoreFileManager::FileCreateTemp},
    {"DirCreateTemp", &CoreFileManager::DirCreateTemp},
    {"FileGetTempPath", &CoreFileManager::FileGetTempPath},
};

class AllocationFailure : public DirectoryTest {
 protected:
  /// Runs the operation with room for 0, 1, 2 ... allocations until it needs no more, each time after \p prepare; then
  /// again, refusing no more than that one.
  void Starve(const std::string& name, const std::function<void()>& operation, const std::function<void()>& prepare) {
    for (const bool once : {false, true}) {
      wasRefused = true;
      for (long room = 0; wasRefused; ++room) {
        ASSERT_LT(room, 10000) << name << " never comes through";
        prepare();
        isRefusedOnce = once;
        Attempt(name + (once ? " without allocation " : " with no more allocations than ") + std::to_string(room),
                operation, room);
      }
    }
  }

  void Attempt(const std::string& name, const std::function<void()>& operation, long room) {
    manager.ForgetFailure();
    const int descriptors = OpenDescriptors();
    const long before = living;
    wasRefused = false;
    allocationsLeft = room;
    try {
      operation();
    } catch (const std::bad_alloc&) {
      // As the guide for hosts says.
    }
    allocationsLeft = -1;
    manager.ForgetFailure();  // which keeps the paths
    EXPECT_EQ(before, living) << name << ": leaks";
    EXPECT_EQ(descriptors, OpenDescriptors()) << name << ": leaves a file open";
    if (!isRefusedOnce) return;  // without any memory the private place of a copy cannot be emptied
    for (const auto& entry : fs::recursive_directory_iterator(Root())) {
      EXPECT_FALSE(entry.path().filename().string().starts_with(".quill-")) << name;
    }
  }

  QuillFileString Other() const { return Path(In("stage/new/") + longName); }

  using Subject = const QuillFileString&;
  using Operation = std::pair<const char*, std::function<void(Subject, QuillFileString&)>>;

  std::vector<Operation> Questions() {
    return {
        {"FileExists", [&](Subject p, QuillFileString&) { (void)manager.FileExists(p); }},
        {"FileGetSize", [&](Subject p, QuillFileString&) { (void)manager.FileGetSize(p, size); }},
        {"FileGetLSize", [&](Subject p, QuillFileString&) { (void)manager.FileGetLSize(p, longSize); }},
        {"FileGetDates", [&](Subject p, QuillFileString&) { (void)manager.FileGetDates(p, freeBytes, totalBytes); }},
        {"FileGetEffectivePermissions",
         [&](Subject p, QuillFileString&) { (void)manager.FileGetEffectivePermissions(p); }},
        {"FindFirst", [&](Subject p, QuillFileString&) { List(manager, p); }},
        {"DirIsEmpty", [&](Subject p, QuillFileString&) { (void)manager.DirIsEmpty(p, answer); }},
        {"DirSetCurrent",
         [&](Subject p, QuillFileString&) { (void)manager.DirSetCurrent(p), manager.DirSetCurrent(Path("/")); }},
        {"GetDownloadedStatus", [&](Subject p, QuillFileString&) { (void)manager.GetDownloadedStatus(p); }},
        {"ScanMediaFile", [&](Subject p, QuillFileString&) { (void)manager.ScanMediaFile(p); }},
        {"FileIsDir", [&](Subject p, QuillFileString&) { (void)manager.FileIsDir(p); }},
        {"FileGetDiskSpace",
         [&](Subject p, QuillFileString&) { (void)manager.FileGetDiskSpace(p, freeBytes, totalBytes); }},
        {"FileGetSpaceAvailable",
         [&](Subject p, QuillFileString&) { (void)manager.FileGetSpaceAvailable(p, freeBytes); }},
        {"FileGetPathUrl", [&](Subject p, QuillFileString& result) { (void)manager.FileGetPathUrl(p, result); }},
        {"FileGetPathUrlPreVeranda",
         [&](Subject p, QuillFileString& result) { (void)manager.FileGetPathUrlPreVeranda(p, result); }},
        {"FileGetUrlPath", [&](Subject p, QuillFileString& result) { (void)manager.FileGetUrlPath(p, result); }},
        {"FileGetUrlPathPreVeranda",
         [&](Subject p, QuillFileString& result) { (void)manager.FileGetUrlPathPreVeranda(p, result); }},
        {"FileGetCanonicalPath",
         [&](Subject p, QuillFileString& result) { (void)manager.FileGetCanonicalPath(p, result); }},
        {"FileIsHidden", [&](Subject p, QuillFileString&) { (void)manager.FileIsHidden(p); }},
        {"FileIsSymLink", [&](Subject p, QuillFileString&) { (void)manager.FileIsSymLink(p); }},
        {"FileReadSymLink", [&](Subject p, QuillFileString& result) { (void)manager.FileReadSymLink(p, result); }},
        {"VolumeIsReadOnly", [&](Subject p, QuillFileString&) { (void)manager.VolumeIsReadOnly(p, answer); }},
        {"FileGetCreator", [&](Subject p, QuillFileString&) { (void)manager.FileGetCreator(p); }},
    };
  }

  std::vector<Operation> Changes() {
    return {
        {"FileDelete", [&](Subject p, QuillFileString&) { (void)manager.FileDelete(p); }},
        {"FileRename", [&](Subject p, QuillFileString&) { (void)manager.FileRename(text, p); }},
        {"the private place",
         [&](Subject p, QuillFileString& result) {
           (void)manager.DirGetQuillPlayerSandboxSafeTempLocation(p, result);
         }},
        {"DirEnsure", [&](Subject p, QuillFileString&) { (void)manager.DirEnsure(p); }},
        {"DirEnsureEnclosingDir", [&](Subject p, QuillFileString&) { (void)manager.DirEnsureEnclosingDir(p); }},
        {"DirDelete", [&](Subject p, QuillFileString&) { (void)manager.DirDelete(p); }},
        {"DirDeleteWithContents", [&](Subject p, QuillFileString&) { (void)manager.DirDeleteWithContents(p); }},
        {"MarkDownloaded",
         [&](Subject p, QuillFileString&) { (void)manager.MarkDownloadedFileAsUnsafeOrSafe(p, text, text, true); }},
        {"FileCreateSymLink", [&](Subject p, QuillFileString&) { (void)manager.FileCreateSymLink(text, p); }},
        {"FileOrDirCopy", [&](Subject p, QuillFileString&) { (void)manager.FileOrDirCopy(p, Other(), true); }},
        {"FileOrDirCopy onto",
         [&](Subject p, QuillFileString&) { (void)manager.FileOrDirCopy(Path("/dev/null"), p, true); }},
        {"FileOrDirMove", [&](Subject p, QuillFileString&) { (void)manager.FileOrDirMove(p, Other(), true); }},
        {"FileOrDirMoveToTrash",
         [&](Subject p, QuillFileString& result) { (void)manager.FileOrDirMoveToTrash(p, result); }},
        {"FileSetModificationDate", [&](Subject p, QuillFileString&) { (void)manager.FileSetModificationDate(p, 0); }},
        {"FileSetReadOnly", [&](Subject p, QuillFileString&) { (void)manager.FileSetReadOnly(p, true); }},
        {"FileCreateTempInDir",
         [&](Subject p, QuillFileString& result) { (void)manager.FileCreateTempInDir(p, result); }},
        {"DirCreateTempInDir",
         [&](Subject p, QuillFileString& result) { (void)manager.DirCreateTempInDir(p, result); }},
        {"_FileCreate", [&](Subject p, QuillFileString&) { (void)manager._FileCreate(p); }},
        {"LastFailure", [&](Subject p, QuillFileString&) { (void)manager.FileDelete(p), (void)manager.LastFailure(); }},
    };
  }

  // Does not fit into a string's own buffer.
  const std::string longName = std::string(100, 'x');
  quill::StandaloneFileManager manager;

 private:
  const QuillFileString text = Path(longName);
  double freeBytes = 0, totalBytes = 0;
  long long size = 0;
  unsigned long long longSize = 0;
  bool answer = false;
};

TEST_F(AllocationFailure, LeavesNothingOfAFileObject) {
  const ScopedVariable temporary("TMPDIR", Root());
  const QuillFileString path = Path(In(longName)), other = Path(In("other" + longName));
  using Opened = std::unique_ptr<IQuillFileReadWriteTemp>;
  const auto prepare = [&] { WriteFile(In(longName), "contents"); };
  prepare();
  ASSERT_FALSE(manager.FileOpenReadOnly(Path(In("none"))) || manager.FileOpen(Path(In("none")), 0x01));
  Starve(
      "appending", [&] { std::unique_ptr<IQuillFileAppendOnly>(manager.FileOpenAppend(path, kQuillKeepOnOpen)); },
      prepare);
  Starve(
      "reading", [&] { std::unique_ptr<IQuillFileReadOnly>(manager.FileOpenReadOnly(path)); }, prepare);
  for (const unsigned flags : {0x01U, 0x03U, 0x33U, 0x93U}) {
    const auto use = [&] {
      const Opened file(manager.FileOpen(other, flags));
      long long position = 0;
      if (file && file->Write("x", 1) && file->Seek(0, kQuillFileSeekBegin, position)) (void)file->Truncate();
    };
    Starve("opening with flags " + std::to_string(flags), use, prepare);
  }
  const auto closeWithout = [&] {
    Opened file(manager.FileOpenTemp());
    const bool wasRefusedBefore = wasRefused;
    allocationsLeft = 0;
    file.reset();
    wasRefused = wasRefusedBefore;
  };
  Starve("closing a temporary file", closeWithout, prepare);
  const std::ptrdiff_t left = std::distance(fs::directory_iterator(Root()), fs::directory_iterator());
  // Two of them were given to the caller: 0x80 makes a temporary file that is not removed.
  EXPECT_EQ(4, left) << "a temporary file stays behind";
}

TEST_F(AllocationFailure, LeavesNothingOfAnyOperation) {
  const ScopedVariable home("HOME", In("home")), temporary("TMPDIR", In("home"));
  const std::string stage = In("stage");
  const auto prepare = [&] {
    fs::remove_all(stage);
    fs::remove_all(In("home"));
    fs::create_directory(In("home"));
    fs::create_directories(stage + "/tree/sub");
    WriteFile(stage + "/tree/f", "x");
    WriteFile(stage + "/tree/.hidden", "x\ny");
    WriteFile(stage + "/e\xcc\x81", "x");
    fs::create_symlink("tree", stage + "/link");
    fs::create_symlink("nowhere", stage + "/dangling");
  };
  const auto starve = [&](const Operation& operation, const std::string& path, const std::function<void()>& before) {
    const QuillFileString subject = Path(stage + "/" + path);
    const auto run = [&] {
      QuillFileString result;
      operation.second(subject, result);
    };
    run();  // what is made once is no leak
    Starve(operation.first + (" " + path), run, before);
  };
  prepare();
  for (const char* path : {"tree", "link", "dangling", "\xc3\xa9", "none/\xc3\xa9/c"}) {
    for (const auto& question : Questions()) starve(question, path, [] {});
  }
  for (const char* path : {"tree", "dangling", "none/\xc3\xa9/c"}) {
    for (const auto& change : Changes()) starve(change, path, prepare);
  }
  for (const auto& [label, find] : kPlaces) {
    const auto run = [&, call = find] {
      QuillFileString result;
      (void)(manager.*call)(result);
    };
    run();
    Starve(label, run, [] {});
  }
}

}  // namespace
}  // namespace quill_test
