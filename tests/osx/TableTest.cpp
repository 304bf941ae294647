// The order of the operation tables, which is contract. The Itanium C++ ABI, 2.3, gives a pointer to a virtual member
// function as 1 plus the offset of its slot; the destructor takes two slots.

#include <cstdint>
#include <cstring>
#include <memory>

#include "host/QuillFileBase.h"
#include "tests/support/Fixture.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

template <typename Member>
std::size_t SlotOf(Member member) {
  std::intptr_t representation[2];
  static_assert(sizeof member == sizeof representation);
  std::memcpy(representation, &member, sizeof member);
  return static_cast<std::size_t>(representation[0] - 1) / sizeof(void*);
}

template <typename Function>
Function* Slot(const void* object, std::size_t slot) {
  void* const* table = nullptr;
  std::memcpy(&table, object, sizeof table);
  Function* function = nullptr;
  std::memcpy(&function, table + slot, sizeof function);
  return function;
}

struct Row {
  const char* name;
  std::size_t slot;
};

// The order, counted from 1, of an operation whose destructor is entry 1.
#define ENTRY(Class, Operation) \
  Row { #Operation, SlotOf(&Class::Operation) }

TEST(CoreFileManagerTable, StandsInOrder) {
#define M(Operation) ENTRY(CoreFileManager, Operation)
  // clang-format off
  const Row rows[] = {
      M(DirGetLogDir), M(FileOpenTemp), M(FileOpenAppend), M(FileOpenReadOnly), M(FileExists), M(FileGetSize),
      M(FileDelete), M(FileRename), M(FileGetDates), M(FileGetEffectivePermissions), M(FindFirst), M(FindNext),
      M(FindClose), M(DirIsEmpty), M(DirSetCurrent), M(DirGetQuillPlayerSandboxSafeTempLocation), M(DirGetCurrent),
      M(DirEnsure), M(DirDelete), M(DirGetDownloads), M(DirGetUserHomePath), M(OverrideWriteableAreaSecurity),
      M(MarkDownloadedFileAsUnsafeOrSafe), M(GetDownloadedStatus), M(IsProtectedModeIE), M(GetBrokerHandleWrapper),
      M(ScanMediaFile), M(FileIsDir), M(DirDeleteWithContents), M(FileGetDiskSpace), M(FileGetLSize),
      M(FileGetPathUrl), M(FileGetPathUrlPreVeranda), M(FileGetUrlPath), M(FileGetUrlPathPreVeranda),
      M(FileGetCanonicalPath), M(FileIsHidden), M(FileIsSymLink), M(FileCreateSymLink), M(FileReadSymLink),
      M(FileOpen), M(DirGetUser), M(DirGetDesktop), M(DirGetDocuments), M(DirGetAppData), M(DirGetAppResourceDir),
      M(FileCreateTemp), M(DirCreateTemp), M(FileOrDirCopy), M(FileOrDirMove), M(FileOrDirMoveToTrash),
      M(FindFirstRoot), M(VolumeIsReadOnly), M(FileGetSpaceAvailable), M(FileSetModificationDate), M(FileSetReadOnly),
      M(RedirectedFilePath), M(GetLastError), M(FileSetExecutable), M(GetNativePath), M(FileReopenStderr),
      M(FileGetCreator), M(FileCreateTempInDir), M(DirCreateTempInDir), M(DirGetCache), M(SetLastError),
      M(FileGetTempPath), M(DirGetTemp)};
  // clang-format on
#undef M
  ASSERT_EQ(68u, std::size(rows));  // and the destructor
  std::size_t slot = 2;
  for (const auto& row : rows) EXPECT_EQ(slot++, row.slot) << row.name;
}

TEST(FileObjectTables, StandInOrder) {
#define F(Operation) ENTRY(QuillFileBase, Operation)
  const Row rows[] = {F(Tell),         F(Size),     F(Seek),  F(Read), F(GetFileName),
                      F(GetLastError), F(Truncate), F(Write), F(Flush)};
#undef F
  std::size_t slot = 2;
  for (const auto& row : rows) EXPECT_EQ(slot++, row.slot) << row.name;
  EXPECT_EQ(12u, SlotOf(&QuillFileBase::prvWrite));
  EXPECT_EQ(13u, SlotOf(&QuillFileBase::prvAppend));
  EXPECT_EQ(14u, SlotOf(&QuillFileBase::setAutoDelete));
  EXPECT_EQ(0u, SlotOf(&IQuillFileAppendOnly::Append));
}

// Calls through the slots themselves, as a host from another library does.
class SlotCalls : public DirectoryTest {};

TEST_F(SlotCalls, ReachTheManager) {
  WriteFile(In("f"), "0123456789");
  RecordingManager manager;
  const auto exists = Slot<bool(CoreFileManager*, const QuillFileString&)>(&manager, 6);
  const auto size = Slot<bool(CoreFileManager*, const QuillFileString&, long long&)>(&manager, 7);
  const auto lastError = Slot<int(CoreFileManager*)>(&manager, 59);
  const auto setLastError = Slot<void(CoreFileManager*, int)>(&manager, 67);
  const auto native = Slot<const char*(CoreFileManager*, const char*)>(&manager, 61);
  long long bytes = 0;
  EXPECT_TRUE(exists(&manager, Path(In("f"))));
  EXPECT_TRUE(size(&manager, Path(In("f")), bytes));
  EXPECT_EQ(10, bytes);
  setLastError(&manager, 7);
  EXPECT_EQ(7, lastError(&manager));
  EXPECT_EQ(std::vector<int>{7}, manager.observed);
  const char* const path = "x";
  EXPECT_EQ(path, native(&manager, path));
}

TEST_F(SlotCalls, ReachTheFileObjectThroughBothTables) {
  RecordingManager manager;
  std::unique_ptr<IQuillFileReadWriteTemp> file(manager.FileOpen(Path(In("f")), 0x13));
  ASSERT_TRUE(file);
  void* const primary = file.get();
  auto* const base = static_cast<QuillFileBase*>(file.get());
  void* const secondary = static_cast<IQuillFileAppendOnly*>(base);
  ASSERT_NE(primary, secondary);
  using Writing = bool(void*, const void*, unsigned long);
  EXPECT_TRUE(Slot<Writing>(primary, 9)(primary, "a", 1));
  EXPECT_TRUE(Slot<Writing>(primary, 11)(primary, "b", 1));
  EXPECT_TRUE(Slot<Writing>(secondary, 0)(secondary, "c", 1));
  EXPECT_TRUE(Slot<Writing>(primary, 12)(primary, "d", 1));
  EXPECT_TRUE(Slot<Writing>(primary, 13)(primary, "e", 1));
  long long size = 0;
  EXPECT_TRUE(Slot<bool(void*, long long&)>(primary, 3)(primary, size));
  EXPECT_EQ(5, size);
  Slot<void(void*, bool)>(primary, 14)(primary, true);
  file.release();
  Slot<void(void*)>(secondary, 2)(secondary);  // the deleting destructor
  EXPECT_FALSE(manager.FileExists(Path(In("f"))));
}

}  // namespace
}  // namespace quill_test
