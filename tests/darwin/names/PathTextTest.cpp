#include "platform/darwin/names/PathText.h"

#include <gtest/gtest.h>

namespace quill::darwin {
namespace {

TEST(PathText, CutsAtTheLastComponent) {
  struct Row {
    const char *path, *trimmed, *parent, *leaf;
  };
  for (const auto& [path, trimmed, parent, leaf] : {Row{"a", "a", ".", "a"},
                                                    {"a//", "a", ".", "a"},
                                                    {"a/b", "a/b", "a", "b"},
                                                    {"a//b/", "a//b", "a", "b"},
                                                    {"/a", "/a", "/", "a"},
                                                    {"//a", "//a", "/", "a"},
                                                    {"///", "/", "/", ""},
                                                    {"a/.", "a/.", "a", "."},
                                                    {"", "", ".", ""}}) {
    EXPECT_EQ(trimmed, WithoutTrailingSlashes(path)) << path;
    EXPECT_EQ(parent, ParentOf(path)) << path;
    EXPECT_EQ(leaf, LeafOf(path)) << path;
  }
}

TEST(PathText, JoinsByOneSlash) {
  for (const auto& [directory, joined] : {std::pair{"a", "a/b"}, {"a/", "a/b"}, {"/", "/b"}, {"", "b"}})
    EXPECT_EQ(joined, Join(directory, "b"));
}

}  // namespace
}  // namespace quill::darwin
