#include "platform/darwin/names/NameLookup.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

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

/// Names with many spellings, of which a listing delivers the first and the directory holds the last.
std::string Composed(int number) { return Repeated("\u00E9", 7) + std::to_string(number); }
std::string Mixed(int number) { return "\u00E9" + Repeated("e\u0301", 6) + std::to_string(number); }

/// A directory whose last change is of an earlier tick of the clock than now.
void LetTheClockTick() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

/// How often the directory was opened since the last question.
int TimesOpened(int watch) {
  alignas(inotify_event) char events[4096];
  const ssize_t size = ::read(watch, events, sizeof events);
  return size > 0 ? static_cast<int>(static_cast<std::size_t>(size) / sizeof(inotify_event)) : 0;
}

TEST_F(NameLookup, ReadsADirectoryOnceForAllItsNames) {
  constexpr int kNames = 300;
  for (int number = 0; number < kNames; ++number) WriteFile(In(Mixed(number)), "");
  LetTheClockTick();
  const FileDescriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  ASSERT_LE(0, ::inotify_add_watch(watch.get(), Root().c_str(), IN_OPEN | IN_ONLYDIR));
  int opened = 0;
  for (int number = 0; number < kNames; ++number) {
    ItemStatus status;
    EXPECT_EQ(0, GetStatus(In(Composed(number)).c_str(), FinalLink::kItself, status));
    EXPECT_EQ(std::nullopt, EquivalentOf(In(Composed(kNames + number)).c_str()));
    opened += TimesOpened(watch.get());
  }
  EXPECT_EQ(1, opened);
}

TEST_F(NameLookup, NeverAnswersFromAReadingThatIsOutOfDate) {
  const std::string composed = Composed(1), mixed = Mixed(1), decomposed = FormD(Composed(1));
  const auto make = [](const std::string& path) { return [path] { WriteFile(path, ""); }; };
  const auto rename = [](const std::string& from, const std::string& to) {
    return [from, to] { ASSERT_EQ(0, ::rename(from.c_str(), to.c_str())); };
  };
  ASSERT_EQ(0, ::chdir(Root().c_str()));
  const struct {
    std::function<void()> change;
    std::string found;  // empty: nothing
  } steps[] = {
      {make("d/" + mixed), mixed},
      {rename("d/" + mixed, "d/other"), ""},
      {rename("d/other", "d/e\u0301" + composed.substr(2)), "e\u0301" + composed.substr(2)},
      {make("d/" + decomposed), decomposed},
      {make("d/" + composed), composed},
      {[] { std::filesystem::rename("d", "old"); }, ""},
      {[] { std::filesystem::create_directory("d"); }, ""},
      {make("d/" + mixed), mixed},
      {[&] { std::filesystem::remove("d/" + mixed); }, ""},
      {[] { std::filesystem::remove_all("d"), std::filesystem::rename("old", "d"); }, composed},
  };
  std::filesystem::create_directory("d");
  for (const auto& [change, found] : steps) {
    ItemStatus asked, expected;
    change();
    const auto ask = [&] { return GetStatus(("d/" + composed).c_str(), FinalLink::kItself, asked); };
    EXPECT_EQ(found.empty() ? ENOENT : 0, ask()) << found;
    LetTheClockTick();
    for (int question = 0; question < 2; ++question) {
      EXPECT_EQ(found.empty() ? ENOENT : 0, ask()) << found;
      if (found.empty()) continue;
      ASSERT_EQ(0, GetStatusOf(AT_FDCWD, ("d/" + found).c_str(), FinalLink::kItself, expected));
      EXPECT_EQ(expected.inode, asked.inode) << found;
    }
  }
  std::filesystem::create_directory("quick");
  for (int round = 0; round < 100; ++round) {  // many of them within one tick, with equal stamps
    ItemStatus status;
    EXPECT_EQ(ENOENT, GetStatus(("quick/" + composed).c_str(), FinalLink::kItself, status));
    WriteFile("quick/" + mixed, "");
    EXPECT_EQ(0, GetStatus(("quick/" + composed).c_str(), FinalLink::kItself, status));
    std::filesystem::remove("quick/" + mixed);
  }
  ASSERT_EQ(0, ::chdir("/"));
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
