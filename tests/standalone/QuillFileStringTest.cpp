// The path string: tables for joining and cutting, own text, and failed allocations.
#include "host/QuillFileString.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "tests/support/Fixture.h"

namespace {

int allocations = 0;
bool refuseAllocations = false;

}  // namespace

// The long form of a string is the only thing in this program that asks for memory in this way.
void* operator new[](std::size_t size) {
  ++allocations;
  void* memory = refuseAllocations ? nullptr : std::malloc(size);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace quill_test {
namespace {

TEST(QuillFileString, JoinsWithOneSeparator) {
  const struct {
    const char *directory, *leaf, *joined;
  } rows[] = {{"/a", "b", "/a/b"}, {"/a/", "b", "/a/b"}, {"a//", "//b", "a/b"},   {"/", "b", "/b"},
              {"//", "/b", "/b"},  {"", "/b", "/b"},     {nullptr, "b", "b"},     {"a", "", "a"},
              {"a", nullptr, "a"}, {"a/", "/", "a/"},    {"a", "b/c/", "a/b/c/"}, {"\xff", "\xfe", "\xff/\xfe"}};
  for (const auto& row : rows) {
    QuillFileString string;
    string.setUTF8(row.directory);
    string.appendLeaf(row.leaf);
    EXPECT_STREQ(row.joined, string.getUTF8());
  }
}

TEST(QuillFileString, CutsTheLastComponent) {
  const struct {
    const char* path;
    bool hasDirectory;
    const char *left, *parent;  // the parent is "before" where it must stay untouched
  } rows[] = {{"/a/b", true, "/a", "/a"},
              {"/a/b//", true, "/a", "/a"},
              {"a//b", true, "a", "a"},
              {"/a", true, "/", "/"},
              {"//a", true, "/", "/"},
              {"a", false, "", "before"},
              {"a/", false, "", "before"},
              {"/", false, "", "before"},
              {"///", false, "", "before"},
              {"", false, "", "before"},
              {nullptr, false, nullptr, "before"}};
  for (const auto& row : rows) {
    QuillFileString string, parent;
    string.setUTF8(row.path);
    parent.setUTF8("before");
    EXPECT_EQ(row.hasDirectory, string.trimLeaf(&parent)) << (row.path ? row.path : "(none)");
    EXPECT_STREQ(row.left, string.getUTF8());
    EXPECT_STREQ(row.parent, parent.getUTF8());
    string.appendLeaf("new");
    EXPECT_EQ(!row.hasDirectory, std::string("new") == string.getUTF8());
  }
}

TEST(QuillFileString, TakesItsOwnTextAsAnArgument) {
  for (const std::size_t length : {10U, 300U}) {
    const std::string long_(length, 'x');
    QuillFileString string;
    string.setUTF8((long_ + "/leaf").c_str());
    string.appendLeaf(string.getUTF8() + length);
    EXPECT_EQ(long_ + "/leaf/leaf", string.getUTF8());
    string.appendLeaf(string);
    string.setUTF8(string.getUTF8() + length + 1);
    EXPECT_EQ("leaf/leaf/" + long_ + "/leaf/leaf", string.getUTF8());
    string = *&string;
    EXPECT_TRUE(string.trimLeaf(&string));
    EXPECT_EQ("leaf/leaf/" + long_ + "/leaf", string.getUTF8());
  }
}

TEST(QuillFileString, AllocatesForLongTextOnly) {
  const int before = allocations;
  QuillFileString string;
  string.setUTF8(std::string(95, 'x').c_str());
  QuillFileString copy = string;
  EXPECT_EQ(before, allocations);
  string.setUTF8(std::string(96, 'x').c_str());
  EXPECT_EQ(before + 1, allocations);
}

TEST(QuillFileString, KeepsWhatItHeldWhenMemoryIsShort) {
  const std::string long_ = std::string(200, 'x') + "/y", longer(300, 'z');
  for (const std::string& held : {std::string("short/y"), long_}) {
    QuillFileString string, other, parent;
    string.setUTF8(held.c_str());
    other.setUTF8(longer.c_str());
    parent.setUTF8("before");
    refuseAllocations = true;
    EXPECT_THROW(string.setUTF8(longer.c_str()), std::bad_alloc);
    EXPECT_THROW(string.appendLeaf(longer.c_str()), std::bad_alloc);
    EXPECT_THROW(string = other, std::bad_alloc);
    EXPECT_THROW(QuillFileString{other}, std::bad_alloc);
    if (held == long_) {
      EXPECT_THROW(string.trimLeaf(&parent), std::bad_alloc);
    }
    refuseAllocations = false;
    EXPECT_EQ(held, string.getUTF8());
    EXPECT_STREQ("before", parent.getUTF8());
  }
}

}  // namespace
}  // namespace quill_test
