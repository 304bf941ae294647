// Whatever a listing delivers reaches exactly the item that it stands for, through every operation, at every level.

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <set>

#include "platform/darwin/Normalization.h"
#include "tests/support/Fixture.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

constexpr std::size_t kLongestName = 255;

// Composed, decomposed, singletons, several marks in several orders, syllables whole and in parts, emoji sequences.
constexpr const char* kPieces[] = {"a",
                                   "K",
                                   ";",
                                   "-",
                                   "\u00e9",
                                   "e\u0301",
                                   "\u212b",
                                   "\u00c5",
                                   "A\u030a",
                                   "\u212a",
                                   "\u037e",
                                   "\u1ec7",
                                   "e\u0323\u0302",
                                   "e\u0302\u0323",
                                   "\u1eb9\u0302",
                                   "\u00ea\u0323",
                                   "q\u0307\u0323",
                                   "q\u0323\u0307",
                                   "\uac01",
                                   "\u1100\u1161\u11a8",
                                   "\uac00\u11a8",
                                   "\ud55c\uae00",
                                   "\u0958",
                                   "\u0915\u093c",
                                   "\u03ac",
                                   "\u1f71",
                                   "\U0001f469\u200d\U0001f680",
                                   "\U0001f1ee\U0001f1f8",
                                   "\u4e2d\u6587",
                                   "\U0001d15e",
                                   "\ufb01"};

class RoundTripTest : public DirectoryTest {
 protected:
  void SetUp() override {
    DirectoryTest::SetUp();
    const auto seed = std::random_device{}();
    std::printf("seed %u\n", seed);
    random.seed(seed);
    // The operations get the composed text of a directory that stands there decomposed.
    onDisk = In("Ko\u0308ln");
    asked = In("K\u00f6ln");
    ASSERT_EQ(0, ::mkdir(onDisk.c_str(), 0755));
  }

  std::size_t UpTo(std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); }

  /// A new name; no two have the same Form C.
  std::string Name(int number) {
    std::string name = std::to_string(number);
    const std::size_t wanted = UpTo(9) == 0 ? kLongestName : name.size() + UpTo(30);
    for (;;) {
      const std::string piece = kPieces[UpTo(std::size(kPieces) - 1)];
      if (name.size() + piece.size() > wanted) break;
      name += piece;
    }
    if (UpTo(19) == 0 && name.size() < kLongestName) name += '\xff';
    return name;
  }

  /// What stands on the disk: raw names, as the kernel gives them.
  std::set<std::string> RawNames() const {
    std::set<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(onDisk.c_str()), ::closedir);
    while (const dirent* entry = ::readdir(directory.get())) names.insert(entry->d_name);
    names.erase(".");
    names.erase("..");
    return names;
  }

  std::set<std::string> Delivered() {
    std::set<std::string> names;
    FindFileInfo info;
    QuillFileFindRef* const handle = manager.FindFirst(Path(asked), info);
    for (bool more = handle != nullptr; more; more = manager.FindNext(handle, info)) names.insert(Text(info.path));
    manager.FindClose(handle);
    return names;
  }

  QuillFileString At(const std::string& name) const { return Path(asked + "/" + name); }

  std::string Read(const std::string& name) {
    const std::unique_ptr<IQuillFileReadOnly> file(manager.FileOpenReadOnly(At(name)));
    if (!file) return "(not opened)";
    char buffer[2 * kLongestName];
    unsigned long count = 0;
    EXPECT_TRUE(file->Read(buffer, sizeof buffer, count));
    return std::string(buffer, count);
  }

  void CheckQuestions(const std::string& name, const std::string& raw) {
    long long size = 0;
    double created = 0, modified = 0;
    EXPECT_TRUE(manager.FileGetSize(At(name), size) && size == static_cast<long long>(raw.size()));
    EXPECT_TRUE(manager.FileGetDates(At(name), created, modified) && manager.FileExists(At(name)));
    EXPECT_EQ(3, manager.FileGetEffectivePermissions(At(name)));
  }

  void CheckCreationMeetsIt(const std::string& name, const std::string& raw) {
    long long size = 0;
    const std::unique_ptr<IQuillFileReadWriteTemp> met(manager.FileOpen(At(name), 0x13));
    EXPECT_TRUE(met && met->Size(size) && size == static_cast<long long>(raw.size()));
    EXPECT_FALSE(manager.FileCreateSymLink(Path("x"), At(name)));
    EXPECT_EQ("3011 stored", manager.Reason());
  }

  void CheckCopy(const std::string& name, const std::string& raw) {
    EXPECT_TRUE(manager.FileOrDirCopy(At(name), At("copy"), true));
    EXPECT_EQ(raw, Read("copy"));
    EXPECT_TRUE(manager.FileDelete(At("copy")));
  }

  void CheckMoves(const std::string& name, const std::string& raw) {
    EXPECT_TRUE(manager.FileRename(Path("moved"), At(name)));
    EXPECT_FALSE(manager.FileExists(At(name)));
    EXPECT_EQ(raw, Read("moved"));
    // Form C can be longer than what stands on the disk, and too long for a new item.
    const bool fits = name.size() <= kLongestName;
    EXPECT_EQ(fits, manager.FileOrDirMove(At("moved"), At(name), false));
    EXPECT_EQ(fits ? "nothing" : "3000 recorded", manager.Reason());
    if (!fits) std::filesystem::rename(onDisk + "/moved", onDisk + "/" + raw);
  }

  /// Each name is read and deleted; the other operations take turns.
  void CheckFile(const std::string& name, const std::string& raw) {
    using Check = void (RoundTripTest::*)(const std::string&, const std::string&);
    constexpr Check kChecks[] = {&RoundTripTest::CheckQuestions, &RoundTripTest::CheckCreationMeetsIt,
                                 &RoundTripTest::CheckCopy, &RoundTripTest::CheckMoves};
    EXPECT_EQ(raw, Read(name));
    (this->*kChecks[turn++ % std::size(kChecks)])(name, raw);
    EXPECT_TRUE(manager.FileDelete(At(name)));
  }

  void CheckItem(const std::string& name, const std::string& raw) {
    if (name.find('\xff') == name.npos) return CheckFile(name, raw);
    // No platform string: nothing else is met by mistake, and the bytes are enough where the kernel gets them.
    EXPECT_FALSE(manager.FileExists(At(name)));
    EXPECT_TRUE(manager.FileDelete(At(name)));
  }

  RecordingManager manager;
  std::string onDisk, asked;

 private:
  std::size_t turn = 0;
  std::mt19937 random;
};

// A few names at a time, as each lookup of a name with many forms reads the directory.
TEST_F(RoundTripTest, DeliveredNamesReachTheirItems) {
  for (int batch = 0; batch < 80 && !HasFailure(); ++batch) {
    std::map<std::string, std::string> rawByDelivered;
    for (int number = 0; number < 25; ++number) {
      const std::string raw = Name(25 * batch + number);
      WriteFile(onDisk + "/" + raw, raw);
      rawByDelivered[darwin::FormC(raw)] = raw;
    }
    std::set<std::string> expected;
    for (const auto& [delivered, raw] : rawByDelivered) expected.insert(delivered);
    ASSERT_EQ(expected, Delivered());
    for (const auto& [name, raw] : rawByDelivered) {
      SCOPED_TRACE(name);
      CheckItem(name, raw);
    }
    manager.Forget();
    EXPECT_EQ(std::set<std::string>{}, RawNames());
  }
}

TEST_F(RoundTripTest, TwinsAreNeverMerged) {
  const std::string composed = "\u1ec7", decomposed = "e\u0323\u0302", half = "\u1eb9\u0302", other = "\u00ea\u0323";
  const struct {
    std::vector<std::string> standing;
    std::string askedFor, met;
  } rows[] = {
      {{composed, decomposed}, composed, composed},
      {{composed, decomposed}, decomposed, decomposed},
      {{composed, decomposed}, half, composed},
      {{decomposed, half}, composed, decomposed},
      {{half, other}, composed, std::min(half, other)},
      {{half, other}, other, other},
      {{half}, composed, half},
      {{composed}, other, composed},
  };
  for (const auto& [standing, askedFor, met] : rows) {
    for (const auto& name : standing) WriteFile(onDisk + "/" + name, name);
    EXPECT_EQ(met, Read(askedFor));
    EXPECT_TRUE(manager.FileDelete(At(askedFor)));
    std::set<std::string> remaining(standing.begin(), standing.end());
    remaining.erase(met);
    EXPECT_EQ(remaining, RawNames());
    for (const auto& name : remaining) ASSERT_EQ(0, ::unlink((onDisk + "/" + name).c_str()));
  }
}

TEST_F(RoundTripTest, LinksAndDirectoriesAreReachedLikeFiles) {
  const std::string raw = "\uac00\u11a8 e\u0301", name = darwin::FormC(raw);
  ASSERT_EQ(0, ::symlink("target", (onDisk + "/" + raw).c_str()));
  QuillFileString target;
  EXPECT_TRUE(manager.FileIsSymLink(At(name)) && manager.FileReadSymLink(At(name), target));
  EXPECT_EQ("target", Text(target));
  EXPECT_TRUE(manager.DirDelete(At(name)));
  ASSERT_EQ(0, ::mkdir((onDisk + "/" + raw).c_str(), 0755));
  EXPECT_TRUE(manager.DirEnsure(At(name + "/" + name)) && manager.FileIsDir(At(name)));
  EXPECT_EQ(std::set<std::string>{raw}, RawNames());
  QuillFileString made;
  EXPECT_TRUE(manager.FileCreateTempInDir(At(name), made) && manager.FileDelete(made));
  EXPECT_TRUE(manager.DirDelete(At(name + "/" + name)) && manager.DirDeleteWithContents(At(name)));
  EXPECT_EQ(std::set<std::string>{}, RawNames());
}

}  // namespace
}  // namespace quill_test
