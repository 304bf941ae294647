#include "platform/darwin/names/NameLookup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>

#include "platform/darwin/descriptors/FileDescriptor.h"
#include "platform/darwin/names/Normalization.h"
#include "platform/darwin/paths/Changes.h"
#include "platform/darwin/paths/Creating.h"
#include "platform/darwin/paths/Status.h"
#include "tests/support/Fixture.h"

namespace quill::darwin {
namespace {

std::optional<std::string> EquivalentOf(const char* path) {
  std::string found;
  return FindEquivalentPath(path, found) ? std::nullopt : std::optional(found);
}

std::string PlaceFor(const char* path) {
  std::string found;
  return FindPathForCreation(path, found) ? "" : found;
}

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
    std::string found;
    return FindEquivalentName(directory.get(), name, found) ? std::nullopt : std::optional(found);
  }

  void ExpectFound(const std::string& asked, const std::string& onDisk) {
    EXPECT_EQ(onDisk, EquivalentIn(asked)) << asked;
    EXPECT_EQ(In(onDisk), EquivalentOf(In(asked).c_str())) << asked;
    EXPECT_EQ(In(onDisk), PlaceFor(In(asked).c_str())) << asked;
  }
};

TEST_F(NameLookup, PrefersExactBytesThenFormCThenFormDThenByteOrder) {
  for (const std::string& rest : {std::string(), Repeated("\u00E9", 7)}) {  // a few forms, and many
    const std::string composed = "\u1EC7" + rest;
    const std::string decomposed = FormD(composed);
    const std::string inOrder[] = {composed, decomposed, "e\u0302\u0323" + rest, "\u00EA\u0323" + rest};
    for (const std::string& name : inOrder) WriteFile(In(name), "");
    const std::string asked = "\u1EB9\u0302" + rest;
    for (const std::string& name : inOrder) {
      EXPECT_EQ(In(name), PlaceFor(In(name).c_str()));
      EXPECT_EQ(std::nullopt, EquivalentOf(In(name).c_str()));
      ExpectFound(asked, name);
      std::filesystem::remove(In(name));
    }
    EXPECT_EQ(std::nullopt, EquivalentIn(asked));
  }
}

/// The spellings of a name that is ASCII in Form C, of one that has few, and of one that has many.
std::vector<std::string> SpellingsOfThreeNames() {
  std::vector<std::string> names{"KK", "K\u212A", "\u212AK"};
  for (const std::string& rest : {std::string(), Repeated("\u00E9", 7)}) {
    for (const char* first : {"\u1EC7", "e\u0323\u0302", "e\u0302\u0323", "\u1EB9\u0302", "\u00EA\u0323"}) {
      names.push_back(first + (first[0] == 'e' ? FormD(rest) : rest));
    }
  }
  return names;
}

/// What the path of \p asked leads to in a directory that holds \p names; empty for nothing.
std::string Expected(const std::set<std::string>& names, const std::string& asked) {
  for (const std::string& preferred : {asked, FormC(asked), FormD(asked)}) {
    if (names.contains(preferred)) return preferred;
  }
  const auto twin = std::find_if(names.begin(), names.end(), [&](auto& name) { return FormC(name) == FormC(asked); });
  return twin == names.end() ? "" : *twin;
}

/// Returns when what changes next has a later stamp than what has changed so far.
void AwaitNextStamp() {
  std::timespec now{}, next{};
  ASSERT_EQ(0, ::clock_gettime(CLOCK_REALTIME_COARSE, &now));
  do {
    ASSERT_EQ(0, ::clock_gettime(CLOCK_REALTIME_COARSE, &next));
  } while (!IsEarlier(now, next));
}

// A thread remembers the names that it has read. Two directories change and change places meanwhile.
TEST_F(NameLookup, SeesEveryChangeOfWhatItRemembers) {
  const std::vector<std::string> spellings = SpellingsOfThreeNames();
  std::set<std::string> names, otherNames;
  std::filesystem::create_directories(In("here"));
  std::filesystem::create_directories(In("there"));
  std::minstd_rand random(1);
  for (int step = 0; step < 500 && !HasFailure(); ++step) {
    const std::string& name = spellings[random() % spellings.size()];
    const std::string& other = spellings[random() % spellings.size()];
    const auto change = random() % 8;
    if (change == 0) {
      ASSERT_EQ(0, ::renameat2(AT_FDCWD, In("here").c_str(), AT_FDCWD, In("there").c_str(), RENAME_EXCHANGE));
      names.swap(otherNames);
    } else if (names.erase(name) == 0) {
      if (names.size() > 3) continue;
      WriteFile(In("here/" + name), "");
      names.insert(name);
    } else if (change == 1) {
      std::filesystem::rename(In("here/" + name), In("here/" + other));
      names.insert(other);
    } else {
      std::filesystem::remove(In("here/" + name));
    }
    if (random() % 2 == 0) AwaitNextStamp();
    const FileDescriptor directory(::open(In("here").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (std::size_t i = 0; i < 2 * spellings.size(); ++i) {  // unread, and read
      const std::string& asked = spellings[i % spellings.size()];
      const std::string expected = Expected(names, asked);
      EXPECT_EQ(In("here/" + (expected.empty() ? asked : expected)), PlaceFor(In("here/" + asked).c_str())) << step;
      ItemStatus reached, item;
      const Error missing = expected.empty() ? ENOENT : 0;
      EXPECT_EQ(missing, GetStatus(In("here/" + asked).c_str(), FinalLink::kItself, reached)) << step;
      EXPECT_EQ(missing, GetStatusOf(directory.get(), expected.c_str(), FinalLink::kItself, item)) << step;
      EXPECT_EQ(item.inode, reached.inode) << step;
      if (names.contains(asked)) continue;
      std::string found;
      EXPECT_EQ(missing, FindEquivalentName(directory.get(), asked, found)) << step;
      EXPECT_EQ(expected, found) << step;
    }
  }
}

TEST_F(NameLookup, ResolvesPathsComponentByComponent) {
  std::filesystem::create_directories(In("e\u0301/plain/\u212A"));
  std::filesystem::create_directories(In("\u00F6"));
  WriteFile(In("e\u0301/plain/\u212A/o\u0308"), "");
  std::filesystem::create_symlink("nowhere", In("\u00FC"));
  std::filesystem::create_symlink("o\u0308", In("link"));
  WriteFile(In("file"), "");
  const struct {
    std::string path;
    std::optional<std::string> existing;
    std::string forCreation;
  } rows[] = {
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
      {"x/" + std::string(5000, '/') + "\u00E9", std::nullopt, "x/" + std::string(5000, '/') + "\u00E9"},
  };
  for (const auto& [path, existing, forCreation] : rows) {
    EXPECT_EQ(existing ? std::optional(In(*existing)) : std::nullopt, EquivalentOf(In(path).c_str())) << path;
    EXPECT_EQ(In(forCreation), PlaceFor(In(path).c_str())) << path;
  }
  EXPECT_EQ(std::nullopt, EquivalentOf(nullptr));
  EXPECT_EQ("", PlaceFor(nullptr));
  EXPECT_EQ("/", PlaceFor("/"));
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

TEST_F(NameLookup, TemporaryItemsAreMadeInADirectoryOfAnotherForm) {
  ASSERT_EQ(0, ::mkdir(In("e\u0301").c_str(), 0777));
  std::string file = In("\u00E9/t.XXXXXX"), directory = In("\u00E9/d.XXXXXX");
  FileDescriptor descriptor;
  ASSERT_EQ(0, MakeTemporaryFileAt(file, 0600, descriptor));
  EXPECT_EQ(FD_CLOEXEC, ::fcntl(descriptor.get(), F_GETFD));
  ASSERT_EQ(0, MakeTemporaryDirectoryAt(directory, 0700));
  EXPECT_TRUE(file.starts_with(In("\u00E9/t."))) << file;
  EXPECT_EQ(0, RemoveFile(file.c_str())) << file;
  EXPECT_EQ(0, RemoveDirectory(directory.c_str())) << directory;
}

}  // namespace
}  // namespace quill::darwin
