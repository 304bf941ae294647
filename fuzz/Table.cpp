// The whole operation table, one operation after another on the same few names, in a directory of its own.
//
// Input: bytes that choose operations, each followed by the bytes that choose its operands. What must hold: no crash
// and nothing undefined, no descriptor left open, no hidden name of our own left behind, only codes of QuillErr.h, and
// the bytes of a sentinel outside the reach of any path untouched.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "fuzz/Fuzz.h"
#include "platform/foundation/NSException.h"
#include "standalone/ErrorText.h"
#include "standalone/StandaloneFileManager.h"

using fuzz::Require;
namespace fs = std::filesystem;

namespace {

using Manager = quill::StandaloneFileManager;

/// The bytes of the input, one after another; zeros behind its end.
class Input {
 public:
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  bool IsAtEnd() const { return rest_.empty(); }
  unsigned Next() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
  }
  unsigned Below(unsigned limit) { return Next() % limit; }
  bool Flag() { return Below(2) == 1; }

  /// At most three components, so that ".." leads no higher than three levels.
  std::string PathText() {
    constexpr const char* kNames[] = {"a", "b", "K", "\xC3\xA9", "e\xCC\x81", "\xFF", ".hidden", "..", ".", "c:d"};
    std::string text;
    for (unsigned left = 1 + Below(3); left > 0; --left) {
      if (!text.empty()) text += '/';
      text += kNames[Below(std::size(kNames))];
    }
    return Below(8) == 0 ? text + '/' : text;
  }
  QuillFileString Path() {
    QuillFileString path;
    if (Below(32) != 0) path.setUTF8(PathText().c_str());
    return path;
  }
  /// Never upwards, so that links add no levels to those of a path.
  QuillFileString LinkText() {
    constexpr const char* kTexts[] = {"a", "b", "a/b", ".", "K", "e\xCC\x81", "missing", ""};
    QuillFileString text;
    text.setUTF8(kTexts[Below(std::size(kTexts))]);
    return text;
  }

 private:
  std::string_view rest_;
};

/// The directory in which everything happens, deep enough below the sentinel for every "..".
class Stage {
 public:
  Stage() : base_(MakeBase()), here_(base_ + "/1/2/3/4/here") {
    std::ofstream(base_ + "/sentinel") << kSentinel;
    for (const char* variable : kVariables) Require(::setenv(variable, (base_ + "/1/" + variable).c_str(), 1) == 0);
  }
  ~Stage() { fs::remove_all(base_); }

  void Begin() const {
    fs::remove_all(base_ + "/1");
    fs::create_directories(here_);
    for (const char* variable : kVariables) fs::create_directory(base_ + "/1/" + variable);
    Return();
  }
  void Return() const { Require(::chdir(here_.c_str()) == 0); }

  void Check() const {
    for (const auto& entry : fs::recursive_directory_iterator(base_)) {
      Require(!entry.path().filename().string().starts_with(".quill-"));
    }
    std::ifstream sentinel(base_ + "/sentinel");
    Require(std::string(std::istreambuf_iterator<char>(sentinel), {}) == kSentinel);
  }

 private:
  static constexpr const char* kSentinel = "untouched";
  static constexpr const char* kVariables[] = {"HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME", "TMPDIR"};

  static std::string MakeBase() {
    std::string base = (fs::temp_directory_path() / "quill-fuzz-XXXXXX").string();
    Require(::mkdtemp(base.data()) != nullptr);
    return base;
  }

  const std::string base_;
  const std::string here_;
};

std::size_t OpenDescriptors() {
  const auto open = fs::directory_iterator("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(fs::begin(open), fs::end(open)));
}

/// What a file object is asked to do.
void Use(IQuillFileReadWriteTemp* file, Input& input) {
  const std::unique_ptr<IQuillFileReadWriteTemp> owner(file);
  std::array<char, 300> bytes{};
  for (unsigned steps = file ? input.Below(6) : 0; steps > 0; --steps) {
    long long position = 0;
    unsigned long count = 0;
    try {
      switch (input.Below(5)) {
        case 0:
          (void)file->Seek(static_cast<long long>(input.Next()) - 20, static_cast<EQuillFileSeek>(input.Below(3)),
                           position);
          break;
        case 1:
          if (file->Read(bytes.data(), input.Next(), count)) Require(count <= 255);
          break;
        case 2:
          (void)file->Write(bytes.data(), input.Next());
          break;
        case 3:
          (void)file->Truncate();
          break;
        default:
          (void)file->Flush();
      }
    } catch (const quill::foundation::NSException&) {
      // A read-only file object refuses so.
    }
    Require(file->Tell(position) && position >= 0);
  }
}

void List(Manager& manager, const QuillFileString& directory) {
  FindFileInfo info;
  QuillFileFindRef* const handle = manager.FindFirst(directory, info);
  for (bool more = handle != nullptr; more; more = manager.FindNext(handle, info)) Require(!info.path.isEmpty());
  (void)manager.FindClose(handle);
}

/// Where it does not, an equivalent name may take the place of one that is gone.
bool HasOneForm(const QuillFileString& path) {
  const std::string_view text = path.getUTF8();
  return text.find('\xC3') == text.npos && text.find('\xCC') == text.npos;
}

/// What others do meanwhile, which no operation of the table can.
void ChangeFromOutside(Input& input) {
  const std::string path = input.PathText(), other = input.PathText();
  switch (input.Below(4)) {
    case 0:
      (void)::link(path.c_str(), other.c_str());
      break;
    case 1:
      (void)::mkfifo(path.c_str(), 0644);
      break;
    case 2:
      (void)::chmod(path.c_str(), 0700 & (input.Next() << 6));
      break;
    default:
      (void)::truncate(path.c_str(), 70'000L * input.Below(4));
  }
}

void Ask(Manager& manager, Input& input) {
  const QuillFileString path = input.Path();
  QuillFileString text;
  long long size = 0;
  unsigned long long largeSize = 0;
  double one = 0, two = 0;
  bool flag = false;
  const bool exists = manager.FileExists(path);
  Require(exists == (manager.FileGetEffectivePermissions(path) != 0));
  Require(!manager.FileIsDir(path) || exists);
  Require(manager.FileGetSize(path, size) == exists && size >= 0);
  Require(manager.FileGetDates(path, one, two) == exists && std::isfinite(one) && std::isfinite(two));
  (void)manager.FileGetLSize(path, largeSize);
  (void)manager.FileGetCreator(path);
  (void)manager.FileGetDiskSpace(path, one, two);
  (void)manager.VolumeIsReadOnly(path, flag);
  (void)manager.DirIsEmpty(path, flag);
  (void)manager.FileIsHidden(path);
  (void)manager.GetDownloadedStatus(path);
  if (manager.FileGetCanonicalPath(path, text)) Require(manager.FileExists(text));
  if (manager.FileGetPathUrl(path, text) && !text.isEmpty()) (void)manager.FileGetUrlPath(text, text);
  (void)manager.FileGetPathUrlPreVeranda(path, text);
  (void)manager.FileReadSymLink(path, text);
}

/// What works on one item.
void ChangeItem(Manager& manager, unsigned operation, Input& input) {
  const QuillFileString path = input.Path();
  QuillFileString result;
  switch (operation) {
    case 0:
      return Use(manager.FileOpen(path, input.Next()), input);
    case 1:
      return Use(manager.FileOpenTemp(), input);
    case 2: {
      const std::unique_ptr<IQuillFileAppendOnly> file(
          manager.FileOpenAppend(path, static_cast<ETruncateOnOpen>(input.Below(2))));
      if (file) (void)file->Append("appended", input.Below(9));
      return;
    }
    case 3:
      if (manager.FileDelete(path)) Require(!HasOneForm(path) || !manager.FileIsSymLink(path));
      return;
    case 4:
      (void)manager.FileRename(input.Path(), path);
      return;
    case 5:
      if (manager.DirEnsure(path)) Require(manager.FileIsDir(path));
      return;
    case 6:
      (void)manager.DirDelete(path);
      return;
    default:
      return;
  }
}

/// What works on trees, on what an item says about itself, and on the current directory.
void Change(Manager& manager, unsigned operation, Input& input) {
  if (operation < 7) return ChangeItem(manager, operation, input);
  const QuillFileString path = input.Path();
  QuillFileString result;
  switch (operation) {
    case 7:
      if (manager.DirDeleteWithContents(path)) Require(!HasOneForm(path) || !manager.FileExists(path));
      return;
    case 8:
      if (const QuillFileString to = input.Path(); manager.FileOrDirCopy(path, to, input.Flag()))
        Require(manager.FileExists(path) && (manager.FileExists(to) || manager.FileIsSymLink(to)));
      return;
    case 9:
      if (const QuillFileString to = input.Path(); manager.FileOrDirMove(path, to, input.Flag()))
        Require(manager.FileExists(to) || manager.FileIsSymLink(to));
      return;
    case 10:
      (void)manager.FileOrDirMoveToTrash(path, result);
      return;
    case 11:
      if (manager.FileCreateSymLink(input.LinkText(), path)) Require(manager.FileIsSymLink(path));
      return;
    case 12:
      if (input.Flag() ? manager.FileCreateTempInDir(path, result) : manager.DirCreateTempInDir(path, result))
        Require(manager.FileExists(result));
      return;
    case 13:
      (void)manager.FileSetReadOnly(path, input.Flag());
      return;
    case 14:
      (void)manager.FileSetModificationDate(path, 1e9 * input.Next());
      return;
    case 15:
      (void)manager.MarkDownloadedFileAsUnsafeOrSafe(path, input.Path(), input.Path(), input.Flag());
      return;
    case 16:
      return List(manager, path);
    case 17:
      (void)manager.DirEnsureEnclosingDir(path);
      return;
    default:
      (void)manager.DirSetCurrent(path);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr unsigned kChanges = 19;
  constexpr int kMostSteps = 40;
  static const Stage stage;
  stage.Begin();
  const std::size_t descriptorsBefore = OpenDescriptors();
  {
    Manager manager;
    Input input(fuzz::Bytes(data, size));
    for (int step = 0; step < kMostSteps && !input.IsAtEnd(); ++step) {
      const unsigned choice = input.Below(kChanges + 2);
      if (choice < kChanges) Change(manager, choice, input);
      if (choice == kChanges) Ask(manager, input);
      if (choice == kChanges + 1) ChangeFromOutside(input);
      stage.Return();
      Require(quill::QuillErrName(manager.GetLastError()) != nullptr);
    }
  }
  Require(OpenDescriptors() == descriptorsBefore);
  stage.Check();
  return 0;
}
