// What the host brings besides its manager: flags, memory, public writing and the words for codes.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "host/QuillErr.h"
#include "host/QuillFileBase.h"
#include "host/Ravel.h"
#include "platform/foundation/NSException.h"
#include "standalone/ErrorText.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

TEST(ValidateFileOpenFlags, AcceptsWhatCanSucceed) {
  // With neither create, truncate nor append an open needs read or write; with any of them it needs write.
  const auto mayOpen = [](unsigned flags) {
    const bool asksToChange = (flags & 0x70) != 0;
    return asksToChange ? (flags & 0x02) != 0 : (flags & 0x03) != 0;
  };
  for (unsigned flags = 0; flags < 256; ++flags) {
    const bool isKnown = (flags & 0x0c) == 0;
    EXPECT_EQ(isKnown && mayOpen(flags), ValidateFileOpenFlags(flags)) << flags;
    EXPECT_FALSE(ValidateFileOpenFlags(flags | 0x100));
    EXPECT_FALSE(ValidateFileOpenFlags(flags | 0x80000000));
  }
  for (const unsigned flags : {0x01U, 0x52U, 0x72U, 0x93U}) EXPECT_TRUE(ValidateFileOpenFlags(flags)) << flags;
}

TEST(Ravel, GivesMemoryForAnyObject) {
  for (const std::size_t size : {0U, 1U, 7U, 4096U, 1U << 20}) {
    void* memory = Ravel::SystemNew(size, Ravel::kSystemDefault);
    void* another = Ravel::SystemNew(size, Ravel::kSystemDefault);
    EXPECT_NE(memory, another);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(memory) % alignof(std::max_align_t));
    std::memset(memory, 0x5a, size);
    Ravel::SystemDelete(memory);
    Ravel::SystemDelete(another);
  }
  Ravel::SystemDelete(nullptr);
  volatile std::size_t tooMuch = SIZE_MAX / 2;
  EXPECT_THROW(Ravel::SystemNew(tooMuch, Ravel::kSystemDefault), std::bad_alloc);
}

/// A file object whose primitives fail as they are told.
class FailingFile final : public QuillFileBase {
 public:
  explicit FailingFile(CoreFileManager& owner) : QuillFileBase(owner) {}
  int failure = 0;

  bool prvWrite(const void*, unsigned long) override {
    if (failure != 0) throw foundation::NSException(failure, "write");
    return true;
  }
  bool prvAppend(const void* data, unsigned long count) override { return prvWrite(data, count); }
  void setAutoDelete(bool) override {}
  bool Tell(long long&) override { return false; }
  bool Size(long long&) override { return false; }
  bool Seek(long long, EQuillFileSeek, long long&) override { return false; }
  bool Read(void*, unsigned long, unsigned long&) override { return false; }
  QuillFileString& GetFileName() override { return name; }
  int GetLastError() override { return 0; }
  bool Truncate() override { return false; }
  bool Flush() override { return false; }

 private:
  QuillFileString name;
};

TEST(QuillFileBase, TurnsWhatThePlatformRaisesIntoACodeOfTheManager) {
  RecordingManager manager;
  FailingFile file(manager);
  manager.SetLastError(kQuillErrInUse);
  EXPECT_TRUE(file.Write("x", 1));
  EXPECT_TRUE(file.Append("x", 1));
  EXPECT_EQ(kQuillErrInUse, manager.GetLastError());

  const struct {
    int error, code;
  } rows[] = {{ENOSPC, kQuillErrNoSpace}, {EDQUOT, kQuillErrNoSpace}, {EIO, kQuillErrIO}, {EFBIG, kQuillErrIO}};
  for (const auto& row : rows) {
    file.failure = row.error;
    EXPECT_FALSE(file.Write("x", 1));
    EXPECT_EQ(row.code, manager.GetLastError());
    manager.SetLastError(0);
    EXPECT_FALSE(file.Append("x", 1));
    EXPECT_EQ(row.code, manager.GetLastError());
  }
}

TEST(ErrorText, HasWordsForEveryCode) {
  for (const int code : {0, 2038, 3000, 3001, 3003, 3004, 3006, 3007, 3008, 3010, 3011, 3012, 3013}) {
    ASSERT_NE(nullptr, QuillErrName(code)) << code;
    EXPECT_TRUE(std::string(QuillErrName(code)).starts_with("kQuillErr"));
    EXPECT_STRNE("unknown error", QuillErrText(code));
  }
  EXPECT_STREQ("kQuillErrReadOnlyMedia", QuillErrName(kQuillErrReadOnlyMedia));
  EXPECT_EQ(nullptr, QuillErrName(3002));
  EXPECT_STREQ("unknown error", QuillErrText(3002));
}

}  // namespace
}  // namespace quill_test
