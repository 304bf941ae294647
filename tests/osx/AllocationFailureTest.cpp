// When memory runs out anywhere in an operation, the exception leaves nothing leaked or open behind, and the next
// attempt works.

#include <cstdlib>
#include <new>

#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

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

  quill::StandaloneFileManager manager;
};

TEST_F(AllocationFailure, LeavesNothingBehind) {
  const ScopedVariable temporary("TMPDIR", Root());
  const std::string longName(200, 'x');  // does not fit into a string's own buffer
  WriteFile(In(longName), "contents");
  WriteFile(In("e\xcc\x81" + longName), "x");
  const auto at = [&](const std::string& name) { return Path(In(name)); };
  const QuillFileString path = at(longName), other = at("other" + longName), composed = at("\xc3\xa9" + longName);
  const std::string url = "file://" + In(longName) + "%20";
  using Opened = std::unique_ptr<IQuillFileReadOnly>;
  QuillFileString result;
  unsigned long long size = 0;

  // What is made once, when it is first needed, is no leak.
  ASSERT_TRUE(manager.FileGetLSize(composed, size) && manager.FileGetPathUrl(path, result));

  Starve("FileOpenReadOnly", [&] { const Opened file(manager.FileOpenReadOnly(path)); });
  Starve("FileOpen", [&] { const Opened file(manager.FileOpen(other, 0x33)); });
  Starve("FileOpen, temporary", [&] { const Opened file(manager.FileOpen(other, 0x93)); });
  Starve("FileOpenTemp", [&] {
    Opened file(manager.FileOpenTemp());
    allocationsLeft = 0;
    file.reset();
    allocationsLeft = -1;
  });
  EXPECT_EQ(5u, List(manager, Path(Root())).size()) << "a temporary file stays behind";
  Starve("FileGetLSize", [&] { manager.FileGetLSize(composed, size); });
  Starve("FindFirst", [&] { List(manager, Path(Root())); });
  Starve("DirEnsure", [&] { manager.DirEnsure(at(longName + "2/" + longName)); });
  Starve("FileOrDirCopy", [&] { (void)manager.FileOrDirCopy(path, at("copy/" + longName), true); });
  Starve("FileOrDirMove", [&] {
    manager._FileCreate(other);
    (void)manager.FileOrDirMove(other, at("moved/" + longName), true);
  });
  Starve("FileRename", [&] { (void)manager.FileRename(Path("renamed" + longName), path); });
  Starve("DirDeleteWithContents", [&] { manager.DirDeleteWithContents(at("copy")); });
  Starve("FileGetPathUrl", [&] { manager.FileGetPathUrl(path, result); });
  Starve("FileGetUrlPath", [&] { manager.FileGetUrlPath(Path(url), result); });
}

}  // namespace
}  // namespace quill_test
