// A program with names of its own for everything that the library once called so in the global namespace, and with
// namespaces of its own called like two of ours. None of them may be called or replaced by the library's.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "standalone/StandaloneFileManager.h"

namespace {
int calls = 0;
}

// External linkage, as a program's own names have it.
std::string LeafOf(const QuillFileString&) { return ++calls, "mine"; }
bool SplitProgramPath(QuillFileString&, QuillFileString&) { return ++calls, false; }
bool IsHiddenName(CoreFileManager&, const QuillFileString&) { return ++calls, true; }
int MoveToTrash(CoreFileManager&, const char*, std::string&) { return ++calls, 1; }
const char* QuillErrName(int) noexcept { return ++calls, "mine"; }
const char* QuillErrText(int) noexcept { return ++calls, "mine"; }
void* PlatformString(const QuillFileString&) { return ++calls, nullptr; }
void SetInFormC(const char*, QuillFileString&) { ++calls; }
int kDataDirectory = 1, kStateDirectory = 2;

struct BaseDirectory {
  ~BaseDirectory() { ++calls; }
};
bool FindBaseDirectory(CoreFileManager&, const BaseDirectory&, QuillFileString&) { return ++calls, false; }
bool EnsureProgramDirectory(CoreFileManager&, const BaseDirectory&, QuillFileString&) { return ++calls, false; }
struct OperationFailure {
  ~OperationFailure() { ++calls; }
};
struct StandaloneFileManager {
  virtual ~StandaloneFileManager() { ++calls; }
};
struct FailureWatch {
  explicit FailureWatch(void*) { ++calls; }
  virtual ~FailureWatch();
};
FailureWatch::~FailureWatch() { ++calls; }

namespace darwin {
class TreeCopy {
 public:
  virtual ~TreeCopy() { ++calls; }
};
int CopyTree(const char*, const char*) { return ++calls, 1; }
int RemoveTree(const char*) { return ++calls, 1; }
}  // namespace darwin

namespace foundation {
class NSString {
 public:
  virtual ~NSString() { ++calls; }
};
}  // namespace foundation

namespace {

QuillFileString Path(const char* text) {
  QuillFileString path;
  path.setUTF8(text);
  return path;
}

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::exit(1);
}

}  // namespace

int main() {
  quill::StandaloneFileManager manager;
  Require(manager.DirEnsure(Path("tree/below")), "DirEnsure");
  Require(manager.FileOrDirCopy(Path("tree"), Path("copy"), /*clobber=*/false), "FileOrDirCopy");
  Require(manager.FileIsDir(Path("copy/below")), "FileIsDir");
  Require(!manager.FileIsHidden(Path("copy")), "FileIsHidden");
  Require(!manager.FileDelete(Path("missing")), "FileDelete");
  Require(manager.LastFailure().posixError != 0, "LastFailure");
  Require(manager.DirDeleteWithContents(Path("copy")), "DirDeleteWithContents");
  Require(calls == 0, "a name of the program's own was called by the library");
  std::puts("hello, world");
}
