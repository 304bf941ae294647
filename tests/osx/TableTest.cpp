// The order of the operation tables, which is contract. The Itanium C++ ABI, 2.3, gives a pointer to a virtual member
// function as 1 plus the offset of its slot; the destructor takes two slots.

#include <cstdint>
#include <cstring>
#include <memory>

#include "host/QuillFileBase.h"
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

TEST(Tables, StandInOrder) {
#define M(Operation) SlotOf(&CoreFileManager::Operation)
#define F(Operation) SlotOf(&QuillFileBase::Operation)
  // clang-format off
  const std::size_t manager[] = {
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
  const std::size_t file[] = {F(Tell),     F(Size),  F(Seek),  F(Read),     F(GetFileName), F(GetLastError),
                              F(Truncate), F(Write), F(Flush), F(prvWrite), F(prvAppend),   F(setAutoDelete)};
#undef M
#undef F
  ASSERT_EQ(68u, std::size(manager));  // and the destructor
  for (std::size_t i = 0; i < std::size(manager); ++i) EXPECT_EQ(2 + i, manager[i]);
  // Append, which prvWrite follows, is counted in the table of its own interface.
  for (std::size_t i = 0; i < std::size(file); ++i) EXPECT_EQ(i < 9 ? 2 + i : 3 + i, file[i]);
  EXPECT_EQ(0u, SlotOf(&IQuillFileAppendOnly::Append));
}

// Calls through the slots themselves, as a host from another library does.
using SlotCalls = ManagerTest;

TEST_F(SlotCalls, ReachTheManager) {
  WriteFile(In("f"), "0123456789");
  long long bytes = 0;
  const auto path = At("f");
  EXPECT_TRUE((Slot<bool(void*, const QuillFileString&)>(&manager, 6)(&manager, path)));
  EXPECT_TRUE((Slot<bool(void*, const QuillFileString&, long long&)>(&manager, 7)(&manager, path, bytes)));
  EXPECT_EQ(10, bytes);
  Slot<void(void*, int)>(&manager, 67)(&manager, 7);
  EXPECT_EQ(7, Slot<int(void*)>(&manager, 59)(&manager));
  EXPECT_EQ(std::vector<int>{7}, manager.observed);
  const char* const text = "x";
  EXPECT_EQ(text, (Slot<const char*(void*, const char*)>(&manager, 61)(&manager, text)));
}

TEST_F(SlotCalls, ReachTheFileObjectThroughBothTables) {
  std::unique_ptr<IQuillFileReadWriteTemp> file(manager.FileOpen(At("f"), 0x13));
  ASSERT_TRUE(file);
  void* const primary = file.get();
  void* const secondary = static_cast<IQuillFileAppendOnly*>(static_cast<QuillFileBase*>(file.get()));
  ASSERT_NE(primary, secondary);
  using Writing = bool(void*, const void*, unsigned long);
  for (const std::size_t slot : {9u, 11u, 12u, 13u}) EXPECT_TRUE(Slot<Writing>(primary, slot)(primary, "a", 1)) << slot;
  EXPECT_TRUE(Slot<Writing>(secondary, 0)(secondary, "b", 1));
  long long size = 0;
  EXPECT_TRUE(Slot<bool(void*, long long&)>(primary, 3)(primary, size));
  EXPECT_EQ(5, size);
  Slot<void(void*, bool)>(primary, 14)(primary, true);
  file.release();
  Slot<void(void*)>(secondary, 2)(secondary);  // the deleting destructor
  EXPECT_FALSE(manager.FileExists(At("f")));
}

}  // namespace
}  // namespace quill_test
