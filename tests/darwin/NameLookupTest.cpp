#include "platform/darwin/NameLookup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/darwin/FileDescriptor.h"
#include "platform/darwin/Normalization.h"
#include "tests/support/Fixture.h"

namespace darwin {
namespace {

using quill_test::WriteFile;

std::string Repeated(const std::string& text, int count) {
  std::string result;
  while (count-- > 0) result += text;
  return result;
}

class NameLookup : public quill_test::DirectoryTest {
 protected:
  std::optional<std::string> EquivalentIn(const std::string& name) {
    const FileDescriptor directory(::open(Root().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return EquivalentNameAt(directory.get(), name);
  }

  /// What a listing delivers must reach the entry, by each of the ways in.
  void ExpectFound(const std::string& asked, const std::string& onDisk) {
    EXPECT_EQ(onDisk, EquivalentIn(asked)) << asked;
    EXPECT_EQ(In(onDisk), EquivalentPath(In(asked).c_str())) << asked;
    EXPECT_EQ(In(onDisk), PathForCreation(In(asked).c_str())) << asked;
  }
};

TEST_F(NameLookup, FindsEachFormByEachOther) {
  const std::vector<std::vector<std::string>> kGroups = {
      {"caf\u00E9", "cafe\u0301"},
      {"\u1EC7", "e\u0323\u0302", "e\u0302\u0323", "\u1EB9\u0302", "\u00EA\u0323"},
      {"\u00C5", "A\u030A", "\u212B"},
      {"Kilo;`", "\u212Ailo;`", "Kilo\u037E`", "\u212Ailo\u037E\u1FEF"},
      {"\uD55C", "\uD558\u11AB", "\u1112\u1161\u11AB"},
      {"\u8C48", "\uF900"},
      {"\xFF\u00E9", "\xFF\u0065\u0301"},
      {Repeated("\u00E9", 50), Repeated("e\u0301", 50), Repeated("\u00E9", 49) + "e\u0301"},
      {Repeated("\u0958", 85)},  // 510 bytes in Form C: too long for any name
      {Repeated("\u00E9", 127), Repeated("\u00E9", 126) + "e\u0301"},
  };
  for (const auto& group : kGroups) {
    for (const std::string& onDisk : group) {
      WriteFile(In(onDisk), "");
      std::vector<std::string> names = group;
      names.insert(names.end(), {FormC(onDisk), FormD(onDisk)});
      for (const std::string& asked : names) {
        if (asked != onDisk) ExpectFound(asked, onDisk);
      }
      std::filesystem::remove(In(onDisk));
    }
    EXPECT_EQ(std::nullopt, EquivalentIn(group.front())) << group.front();
  }
}

TEST_F(NameLookup, PrefersExactBytesThenFormCThenFormDThenByteOrder) {
  for (const std::string& rest : {std::string(), Repeated("\u00E9", 7)}) {  // a few forms, and many
    const std::string composed = "\u1EC7" + rest;
    const std::string decomposed = FormD(composed);
    const std::string inOrder[] = {composed, decomposed, "e\u0302\u0323" + rest, "\u00EA\u0323" + rest};
    for (const std::string& name : inOrder) WriteFile(In(name), "");
    const std::string asked = "\u1EB9\u0302" + rest;
    for (const std::string& name : inOrder) {
      EXPECT_EQ(In(name), PathForCreation(In(name).c_str()));
      EXPECT_EQ(std::nullopt, EquivalentPath(In(name).c_str()));
      ExpectFound(asked, name);
      std::filesystem::remove(In(name));
    }
    EXPECT_EQ(std::nullopt, EquivalentIn(asked));
  }
}

TEST_F(NameLookup, ResolvesPathsComponentByComponent) {
  std::filesystem::create_directories(In("e\u0301/plain/\u212A"));
  std::filesystem::create_directories(In("\u00F6"));
  WriteFile(In("e\u0301/plain/\u212A/o\u0308"), "");
  std::filesystem::create_symlink("nowhere", In("\u00FC"));
  std::filesystem::create_symlink("o\u0308", In("link"));
  WriteFile(In("file"), "");
  struct Row {
    std::string path;
    std::optional<std::string> existing;
    std::string forCreation;
  };
  const Row rows[] = {
      {"\u00E9/plain/K/\u00F6", "e\u0301/plain/\u212A/o\u0308", "e\u0301/plain/\u212A/o\u0308"},
      {"\u00E9//plain/../plain/./K/", "e\u0301//plain/../plain/./\u212A/", "e\u0301//plain/../plain/./\u212A/"},
      {"\u00E9/new/\u00E9", std::nullopt, "e\u0301/new/\u00E9"},
      {"\u00E9/plain/\u00E9", std::nullopt, "e\u0301/plain/\u00E9"},
      {"\u00E9/new.txt", "e\u0301/new.txt", "e\u0301/new.txt"},
      {"\u00E4/\u00E9/K", std::nullopt, "\u00E4/\u00E9/K"},
      {"o\u0308/\u00E9", std::nullopt, "\u00F6/\u00E9"},
      {"u\u0308", "\u00FC", "\u00FC"},
      {"\u00FC/\u00E9", std::nullopt, "\u00FC/\u00E9"},  // a link that leads nowhere stands there all the same
      {"link/\u00E9", std::nullopt, "link/\u00E9"},      // the text of a link is followed as it stands
      {"file/\u00E9", std::nullopt, "file/\u00E9"},
      {"missing", std::nullopt, "missing"},
      {"x/" + std::string(5000, '/') + "\u00E9", std::nullopt, "x/" + std::string(5000, '/') + "\u00E9"},
  };
  for (const Row& row : rows) {
    const auto existing = EquivalentPath(In(row.path).c_str());
    EXPECT_EQ(row.existing ? std::optional(In(*row.existing)) : std::nullopt, existing) << row.path;
    EXPECT_EQ(In(row.forCreation), PathForCreation(In(row.path).c_str())) << row.path;
  }
  EXPECT_EQ(std::nullopt, EquivalentPath(nullptr));
  EXPECT_EQ(std::nullopt, EquivalentPath(""));
  EXPECT_EQ("", PathForCreation(nullptr));
  EXPECT_EQ("/", PathForCreation("/"));
}

TEST_F(NameLookup, ProbesWithoutReadingTheDirectory) {
  WriteFile(In("\u00EA\u0323"), "");
  WriteFile(In(Repeated("e\u0301", 20)), "");
  quill_test::AsOrdinaryUser(Root(), [this] {
    ASSERT_EQ(0, ::chmod(Root().c_str(), 0111));
    ExpectFound("\u1EC7", "\u00EA\u0323");
    ExpectFound(Repeated("\u00E9", 20), Repeated("e\u0301", 20));
    EXPECT_EQ(std::nullopt, EquivalentIn(Repeated("\u00E9", 30)));
    ASSERT_EQ(0, ::chmod(Root().c_str(), 0755));
  });
}

TEST_F(NameLookup, RunsACallOnTheItemThatIsMeant) {
  WriteFile(In("e\u0301"), "");
  const auto remove = [](const char* path) { return ::unlink(path); };
  EXPECT_EQ(0, OnItem(In("\u00E9").c_str(), remove));
  EXPECT_EQ(-1, OnItem(In("\u00E9").c_str(), remove));
  EXPECT_EQ(ENOENT, errno);
}

}  // namespace
}  // namespace darwin
