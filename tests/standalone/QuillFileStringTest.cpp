// The path string: tables for joining and cutting, failed allocations, and a random walk against a plain model.
#include "host/QuillFileString.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <random>
#include <string>
#include <vector>

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

using Model = std::optional<std::string>;

Model TextOrNothing(const QuillFileString& string) { return string.getUTF8() ? Model(string.getUTF8()) : std::nullopt; }

Model Appended(const Model& model, const Model& leaf) {
  if (!leaf || leaf->empty()) return model;
  if (!model || model->empty()) return leaf;
  const std::size_t start = leaf->find_first_not_of('/');
  if (start == std::string::npos) return model;
  const std::size_t last = model->find_last_not_of('/');
  return model->substr(0, last == std::string::npos ? 0 : last + 1) + '/' + leaf->substr(start);
}

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

/// A few strings and their models, changed at random.
class Walk {
 public:
  explicit Walk(unsigned seed) : random(seed), strings(4), models(4) {}

  void Step() {
    const std::size_t one = Below(strings.size()), other = Below(strings.size());
    const Model leaf = Below(8) == 0 ? std::nullopt : Model(RandomText());
    switch (Below(6)) {
      case 0:
        strings[one].setUTF8(leaf ? leaf->c_str() : nullptr);
        models[one] = leaf;
        break;
      case 1:
        strings[one] = strings[other];
        models[one] = models[other];
        break;
      case 2:
        strings[one].appendLeaf(strings[other]);
        models[one] = Appended(models[one], models[other]);
        break;
      case 3:
        Trim(one, other);
        break;
      case 4:
        strings[one].freeAll();
        models[one].reset();
        break;
      default:
        strings[one].appendLeaf(leaf ? leaf->c_str() : nullptr);
        models[one] = Appended(models[one], leaf);
    }
    if (models[one] && models[one]->size() > 2000) models[one].reset(), strings[one].freeAll();
  }

  void Check() const {
    for (std::size_t index = 0; index < strings.size(); ++index) {
      ASSERT_EQ(models[index], TextOrNothing(strings[index]));
      ASSERT_EQ(!models[index] || models[index]->empty(), strings[index].isEmpty());
      ASSERT_EQ(models[index], TextOrNothing(QuillFileString(strings[index])));
    }
  }

 private:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); }

  std::string RandomText() {
    std::string text(Below(4) == 0 ? Below(250) : Below(12), ' ');
    for (char& character : text) character = "/ab\xc3\xa9\xff"[Below(6)];
    return text;
  }

  void Trim(std::size_t one, std::size_t other) {
    Model& model = models[one];
    const std::string path = model.value_or("");
    const std::size_t last = path.find_last_not_of('/');
    const std::size_t separator = last == std::string::npos ? last : path.find_last_of('/', last);
    const bool hasDirectory = separator != std::string::npos;
    ASSERT_EQ(hasDirectory, strings[one].trimLeaf(&strings[other])) << path;
    if (!hasDirectory) return void(model = model ? Model("") : Model());
    const std::size_t kept = path.find_last_not_of('/', separator);
    model = kept == std::string::npos ? "/" : path.substr(0, kept + 1);
    models[other] = model;
  }

  std::mt19937 random;
  std::vector<QuillFileString> strings;
  std::vector<Model> models;
};

TEST(QuillFileString, BehavesAsItsModel) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  Walk walk(seed);
  for (int step = 0; step < 50000 && !::testing::Test::HasFatalFailure(); ++step) {
    walk.Step();
    walk.Check();
  }
}

}  // namespace
}  // namespace quill_test
