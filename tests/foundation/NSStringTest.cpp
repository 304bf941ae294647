#include "platform/foundation/NSString.h"

#include <gtest/gtest.h>

#include <string>

namespace quill::foundation {
namespace {

TEST(NSString, IsMadeFromWellFormedUTF8Only) {
  for (const char* text : {"", "a", "\xC2\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80",
                           "\xF4\x8F\xBF\xBF", "eight by\xC3\xA9"}) {
    const auto string = NSString::stringWithUTF8String(text);
    ASSERT_TRUE(string) << text;
    EXPECT_STREQ(text, string->UTF8String());
  }
  for (const char* text : {"\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
                           "\xC3", "\xF0\x90\x80", "12345678\xFF"})
    EXPECT_FALSE(NSString::stringWithUTF8String(text)) << text;
  EXPECT_FALSE(NSString::stringWithUTF8String(nullptr));
}

}  // namespace
}  // namespace quill::foundation
