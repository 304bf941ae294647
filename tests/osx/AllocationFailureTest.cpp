// When memory runs out anywhere in an operation, the exception leaves nothing leaked or open behind, and the next
// attempt works.

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "tests/support/Fixture.h"
#include "tests/support/RecordingManager.h"

namespace {

long allocationsLeft = -1;  // negative: as many as are asked for
long living = 0;

}  // namespace

void* operator new(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
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

void operator delete(void* memory) noexcept {
  if (memory) --living;
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace quill_test {
namespace {

class AllocationFailure : public DirectoryTest {
 protected:
  /// Runs the operation with room for 0, 1, 2 ... allocations until it comes through, and again without a limit.
  void Starve(const char* name, const std::function<void()>& operation) {
    for (long room = 0; room < 10000; ++room) {
      const int descriptors = OpenDescriptors();
      const long before = living;
      bool threw = false;
      allocationsLeft = room;
      try {
        operation();
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      allocationsLeft = -1;
      EXPECT_EQ(before, living) << name << " leaks with " << room << " allocations";
      EXPECT_EQ(descriptors, OpenDescriptors()) << name << " leaves a file open with " << room << " allocations";
      if (!threw) return operation();
    }
    FAIL() << name << " never comes through";
  }

  StandaloneFileManager manager;
};

TEST_F(AllocationFailure, LeavesNothingBehind) {
  const std::string longName(200, 'x');  // does not fit into a string's own buffer
  const std::string file = In(longName), other = In("other" + longName), composed = In("\xc3\xa9" + longName);
  WriteFile(file, "contents");
  WriteFile(In("e\xcc\x81" + longName), "x");
  const QuillFileString path = Path(file), otherPath = Path(other), composedPath = Path(composed);
  QuillFileString result;
  unsigned long long size = 0;

  // What is made once, when it is first needed, is no leak.
  ASSERT_TRUE(manager.FileGetLSize(composedPath, size) && manager.FileGetPathUrl(path, result));

  Starve("FileOpenReadOnly", [&] { const std::unique_ptr<IQuillFileReadOnly> opened(manager.FileOpenReadOnly(path)); });
  Starve("FileOpen", [&] { const std::unique_ptr<IQuillFileReadWriteTemp> opened(manager.FileOpen(otherPath, 0x33)); });
  Starve("FileOpenTemp", [&] { const std::unique_ptr<IQuillFileReadWriteTemp> opened(manager.FileOpenTemp()); });
  Starve("FileGetLSize", [&] { manager.FileGetLSize(composedPath, size); });
  Starve("FindFirst", [&] {
    FindFileInfo info;
    const std::unique_ptr<QuillFileFindRef, void (*)(QuillFileFindRef*)> closing(
        manager.FindFirst(Path(Root()), info),
        [](QuillFileFindRef* handle) { StandaloneFileManager().FindClose(handle); });
    while (closing && manager.FindNext(closing.get(), info)) {
    }
  });
  Starve("DirEnsure", [&] { manager.DirEnsure(Path(In(longName + "2/" + longName))); });
  Starve("FileOrDirCopy", [&] { manager.FileOrDirCopy(path, Path(In("copy/" + longName)), true); });
  Starve("FileOrDirMove", [&] {
    ::close(::open(other.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    manager.FileOrDirMove(otherPath, Path(In("moved/" + longName)), true);
  });
  Starve("FileRename", [&] { manager.FileRename(Path("renamed" + longName), path); });
  Starve("DirDeleteWithContents", [&] { manager.DirDeleteWithContents(Path(In("copy"))); });
  Starve("FileGetPathUrl", [&] { manager.FileGetPathUrl(path, result); });
  Starve("FileGetUrlPath", [&] { manager.FileGetUrlPath(Path("file://" + file + "%20"), result); });
}

}  // namespace
}  // namespace quill_test
