// What the host brings besides its manager: memory and the words for codes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "host/QuillErr.h"
#include "host/Ravel.h"
#include "standalone/ErrorText.h"

namespace {

TEST(Ravel, GivesMemoryForAnyObject) {
  for (const std::size_t size : {0U, 7U, 1U << 20}) {
    void* memory = Ravel::SystemNew(size, Ravel::kSystemDefault);
    ASSERT_TRUE(memory) << size;
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(memory) % alignof(std::max_align_t));
    std::memset(memory, 0x5a, size);
    Ravel::SystemDelete(memory);
  }
  Ravel::SystemDelete(nullptr);
  volatile std::size_t tooMuch = SIZE_MAX / 2;
  EXPECT_THROW(Ravel::SystemNew(tooMuch, Ravel::kSystemDefault), std::bad_alloc);
}

TEST(ErrorText, HasWordsForEveryCode) {
  for (const int code : {0, 2038, 3000, 3001, 3003, 3004, 3006, 3007, 3008, 3010, 3011, 3012, 3013}) {
    ASSERT_TRUE(QuillErrName(code)) << code;
    EXPECT_STRNE("unknown error", QuillErrText(code));
  }
  EXPECT_STREQ("kQuillErrReadOnlyMedia", QuillErrName(kQuillErrReadOnlyMedia));
  EXPECT_EQ(nullptr, QuillErrName(3002));
  EXPECT_STREQ("unknown error", QuillErrText(3002));
}

}  // namespace
