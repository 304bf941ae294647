// What the host brings besides its manager: path strings, memory and the words for codes.
#include <cstdlib>
#include <cstring>
#include <new>

#include "host/QuillErr.h"
#include "host/Ravel.h"
#include "standalone/ErrorText.h"
#include "tests/support/Fixture.h"

namespace {

bool refuseAllocations = false;

}  // namespace

// The long form of a string is the only thing in this program that asks for memory in this way.
void* operator new[](std::size_t size) {
  void* memory = refuseAllocations ? nullptr : std::malloc(size);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace quill_test {
namespace {

TEST(QuillFileString, JoinsWithOneSeparator) {
  const char* const rows[][3] = {{"/a", "b", "/a/b"}, {"/a/", "b", "/a/b"},    {"a//", "//b", "a/b"},
                                 {"/", "b", "/b"},    {"//", "/b", "/b"},      {"", "/b", "/b"},
                                 {nullptr, "b", "b"}, {"a", "", "a"},          {"a", nullptr, "a"},
                                 {"a/", "/", "a/"},   {"a", "b/c/", "a/b/c/"}, {"\xff", "\xfe", "\xff/\xfe"}};
  for (const auto& [directory, leaf, joined] : rows) {
    QuillFileString string;
    string.setUTF8(directory);
    string.appendLeaf(leaf);
    EXPECT_STREQ(joined, string.getUTF8());
  }
}

TEST(QuillFileString, CutsTheLastComponent) {
  // Where there is no directory the string is left empty, and the parent as it was.
  const char* const rows[][2] = {{"/a/b", "/a"}, {"/a/b//", "/a"}, {"a//b", "a"}, {"/a", "/"}, {"//a", "/"},
                                 {"a", ""},      {"a/", ""},       {"/", ""},     {"///", ""}, {"", ""}};
  for (const auto& [path, left] : rows) {
    const bool hasDirectory = *left != '\0';
    QuillFileString string = Path(path), parent = Path("before");
    EXPECT_EQ(hasDirectory, string.trimLeaf(&parent)) << path;
    EXPECT_STREQ(left, string.getUTF8()) << path;
    EXPECT_STREQ(hasDirectory ? left : "before", parent.getUTF8()) << path;
    string.appendLeaf("new");
    EXPECT_EQ(!hasDirectory, Text(string) == "new") << path;
  }
  EXPECT_FALSE(QuillFileString().trimLeaf(nullptr));
}

TEST(QuillFileString, KeepsWhatItHeldWhenMemoryIsShort) {
  const QuillFileString other = Path(std::string(96, 'z'));
  for (const std::string& held : {std::string("short/y"), std::string(200, 'x') + "/y"}) {
    QuillFileString string = Path(held), parent = Path("before");
    refuseAllocations = true;
    EXPECT_THROW(string.setUTF8(other.getUTF8()), std::bad_alloc);
    EXPECT_THROW(string.appendLeaf(other), std::bad_alloc);
    EXPECT_THROW(string = other, std::bad_alloc);
    EXPECT_THROW(QuillFileString{other}, std::bad_alloc);
    EXPECT_EQ(held, Text(string));
    if (held.size() > 96) {
      EXPECT_THROW(string.trimLeaf(&parent), std::bad_alloc);
      EXPECT_EQ("before", Text(parent));
      EXPECT_EQ(held, Text(string));
    }
    EXPECT_NO_THROW(string.setUTF8(other.getUTF8() + 1)) << "text of 95 bytes has room in the string itself";
    refuseAllocations = false;
  }
}

TEST(Ravel, GivesMemoryForAnyObject) {
  for (const std::size_t size : {0U, 7U, 1U << 20}) {
    void* memory = Ravel::SystemNew(size, Ravel::kSystemDefault);
    ASSERT_TRUE(memory) << size;
    std::memset(memory, 0x5a, size);
    Ravel::SystemDelete(memory);
  }
  Ravel::SystemDelete(nullptr);
  volatile std::size_t tooMuch = SIZE_MAX / 2;
  EXPECT_THROW(Ravel::SystemNew(tooMuch, Ravel::kSystemDefault), std::bad_alloc);
}

TEST(ErrorText, HasWordsForEveryCode) {
  for (const int code : {0, 2038, 3000, 3001, 3003, 3004, 3006, 3007, 3008, 3010, 3011, 3012, 3013}) {
    ASSERT_TRUE(quill::QuillErrName(code)) << code;
    EXPECT_STRNE("unknown error", quill::QuillErrText(code));
  }
  EXPECT_STREQ("kQuillErrReadOnlyMedia", quill::QuillErrName(kQuillErrReadOnlyMedia));
  EXPECT_EQ(nullptr, quill::QuillErrName(3002));
  EXPECT_STREQ("unknown error", quill::QuillErrText(3002));
}

}  // namespace
}  // namespace quill_test
