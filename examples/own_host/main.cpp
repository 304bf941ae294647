// A host of its own: it keeps the headers and brings an arena for memory and a file manager that tells what the layer
// asks of it. Calls made inside an operation are indented.
#include <cstdio>
#include <memory>

#include "Arena.h"
#include "HostManager.h"
#include "standalone/ErrorText.h"

namespace {

QuillFileString In(const QuillFileString& directory, const char* leaf) {
  QuillFileString path = directory;
  path.appendLeaf(leaf);
  return path;
}

bool WriteFile(HostManager& manager, const QuillFileString& path) {
  const std::unique_ptr<IQuillFileReadWriteTemp> file(manager.FileOpen(path, kQuillOpenWrite | kQuillOpenCreate));
  return file && file->Write("own host\n", 9);
}

void Report(const char* operation, bool result, HostManager& manager) {
  std::printf("%s: %s, last error %s\n", operation, result ? "true" : "false",
              quill::QuillErrName(manager.GetLastError()));
}

void Show(HostManager& manager, const QuillFileString& place) {
  const QuillFileString draft = In(place, "draft"), copy = In(place, "copy"), missing = In(place, "missing");

  Report("FileOpen and Write", WriteFile(manager, draft), manager);
  Report("FileOrDirCopy", manager.FileOrDirCopy(draft, copy, /*clobber=*/false), manager);
  Report("FileOrDirCopy over the copy", manager.FileOrDirCopy(draft, copy, /*clobber=*/true), manager);
  // Recorded: the override sees it.
  Report("FileDelete of what is missing", manager.FileDelete(missing), manager);
  // Stored: the last error changes, and the override does not see it.
  Report("FileOrDirCopy onto what is there", manager.FileOrDirCopy(draft, copy, /*clobber=*/false), manager);
}

}  // namespace

int main() {
  {
    const auto manager = std::make_unique<HostManager>();  // in the arena, as file objects and listings are
    QuillFileString place;
    if (!manager->DirCreateTemp(place)) return 1;
    Show(*manager, place);
    if (!manager->DirDeleteWithContents(place)) return 1;
  }
  const ArenaUse use = CurrentArenaUse();
  std::printf("arena: at most %zu bytes at once, %zu blocks left\n", use.mostBytes, use.blocks);
  return use.blocks == 0 && use.mostBytes > 0 ? 0 : 1;
}
