// Whatever a listing delivers reaches exactly the item that it stands for, through every operation, at every level.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>

#include "platform/darwin/names/Normalization.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

constexpr std::size_t kLongestName = 255;

// Composed, decomposed, singletons, several marks in several orders, syllables whole and in parts, emoji sequences, a
// byte that is not UTF-8.
constexpr const char* kPieces =
    "a K ; - \xe9 \u00e9 e\u0301 \u212b \u00c5 A\u030a \u212a \u037e \u1ec7 e\u0323\u0302 e\u0302\u0323 \u1eb9\u0302 "
    "\u00ea\u0323 q\u0307\u0323 q\u0323\u0307 \uac01 \u1100\u1161\u11a8 \uac00\u11a8 \ud55c\uae00 \u0958 "
    "\u0915\u093c \u03ac \u1f71 \U0001f469\u200d\U0001f680 \U0001f1ee\U0001f1f8 \u4e2d\u6587 \U0001d15e \ufb01";

class RoundTripTest : public ManagerTest {
 protected:
  void SetUp() override {
    ManagerTest::SetUp();
    // The operations get the composed text of a directory that stands there decomposed.
    onDisk = In("Ko\u0308ln");
    asked = In("K\u00f6ln");
    fs::create_directory(onDisk);
  }

  std::size_t UpTo(std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); }

  /// A new name; no two have the same Form C.
  std::string Name(int number) {
    std::string name = std::to_string(number);
    const std::size_t wanted = UpTo(9) == 0 ? kLongestName : name.size() + UpTo(30);
    for (std::string piece; name.size() + piece.size() <= wanted; piece = pieces[UpTo(pieces.size() - 1)])
      name += piece;
    return name;
  }

  /// What stands on the disk: raw names, as the kernel gives them.
  Names RawNames() const {
    Names names;
    for (const auto& entry : fs::directory_iterator(onDisk)) names.insert(entry.path().filename());
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

  void CheckQuestionsAndMeeting(const std::string& name, const std::string& raw) {
    const auto rawSize = static_cast<long long>(raw.size());
    long long size = 0, sizeOnceMet = 0;
    double created = 0, modified = 0;
    EXPECT_TRUE(manager.FileGetSize(At(name), size) && manager.FileExists(At(name)));
    EXPECT_TRUE(manager.FileGetDates(At(name), created, modified));
    EXPECT_EQ(3, manager.FileGetEffectivePermissions(At(name)));
    // What creates finds the item that stands there.
    const std::unique_ptr<IQuillFileReadWriteTemp> met(manager.FileOpen(At(name), 0x13));
    EXPECT_TRUE(met && met->Size(sizeOnceMet) && size == rawSize && sizeOnceMet == rawSize);
    EXPECT_EQ("false, 3011 stored", Outcome(manager.FileCreateSymLink(Path("x"), At(name))));
  }

  void CheckCopyAndMoves(const std::string& name, const std::string& raw) {
    EXPECT_TRUE(manager.FileOrDirCopy(At(name), At("copy"), false));
    EXPECT_TRUE(manager.FileRename(Path("moved"), At(name)));
    EXPECT_TRUE(raw == Read("copy") && raw == Read("moved") && !manager.FileExists(At(name)));
    EXPECT_TRUE(manager.FileDelete(At("copy")));
    // Form C can be longer than what stands on the disk, and too long for a new item.
    const bool fits = name.size() <= kLongestName;
    EXPECT_EQ(fits ? "true, nothing" : "false, 3000 recorded",
              Outcome(manager.FileOrDirMove(At("moved"), At(name), false)));
    if (!fits) fs::rename(onDisk + "/moved", onDisk + "/" + raw);
  }

  void CheckFile(const std::string& name, const std::string& raw) {
    EXPECT_EQ(raw, Read(name));
    UpTo(1) == 0 ? CheckQuestionsAndMeeting(name, raw) : CheckCopyAndMoves(name, raw);
    EXPECT_EQ("true, nothing", Outcome(manager.FileDelete(At(name))));
  }

  std::string onDisk, asked;
  const unsigned seed = std::random_device{}();

 private:
  std::istringstream words{kPieces};
  const std::vector<std::string> pieces{std::istream_iterator<std::string>(words), {}};
  std::mt19937 random{seed};
};

// A few names at a time, as each lookup of a name with many forms reads the directory; fewer where that takes long.
TEST_F(RoundTripTest, DeliveredNamesReachTheirItems) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(5);
  for (int batch = 0; batch < 80 && !HasFailure() && std::chrono::steady_clock::now() < end; ++batch) {
    std::printf("seed %u, batch %d of 80\n", seed, batch + 1);
    std::map<std::string, std::string> rawByDelivered;
    std::multimap<std::string, int> expected;
    for (int number = 0; number < 25; ++number) {
      const std::string raw = Name(25 * batch + number), delivered = quill::darwin::FormC(raw);
      WriteFile(onDisk + "/" + raw, raw);
      rawByDelivered[delivered] = raw;
      expected.emplace(delivered, kQuillFileTypeFile);
    }
    ASSERT_EQ(expected, List(manager, Path(asked)));
    for (const auto& [name, raw] : rawByDelivered) {
      SCOPED_TRACE(name);
      CheckFile(name, raw);
    }
    EXPECT_EQ(Names{}, RawNames());
  }
}

TEST_F(RoundTripTest, TwinsAreNeverMerged) {
  const std::string composed = "\u1ec7", decomposed = "e\u0323\u0302", half = "\u1eb9\u0302", other = "\u00ea\u0323";
  const std::tuple<Names, std::string, std::string> rows[] = {{{composed, decomposed}, decomposed, decomposed},
                                                              {{composed, decomposed}, half, composed},
                                                              {{decomposed, half}, composed, decomposed},
                                                              {{half, other}, composed, std::min(half, other)},
                                                              {{half, other}, other, other},
                                                              {{half}, composed, half}};
  for (const auto& [standing, askedFor, met] : rows) {
    for (const auto& name : standing) WriteFile(onDisk + "/" + name, name);
    EXPECT_EQ(met, Read(askedFor));
    EXPECT_TRUE(manager.FileDelete(At(askedFor)));
    Names remaining = standing;
    remaining.erase(met);
    EXPECT_EQ(remaining, RawNames());
    for (const auto& name : remaining) fs::remove(onDisk + "/" + name);
  }
}

TEST_F(RoundTripTest, LinksAndDirectoriesAreReachedLikeFiles) {
  const std::string raw = "\uac00\u11a8 e\u0301", name = quill::darwin::FormC(raw);
  fs::create_symlink("target", onDisk + "/" + raw);
  QuillFileString target, made;
  EXPECT_TRUE(manager.FileIsSymLink(At(name)) && manager.FileReadSymLink(At(name), target));
  EXPECT_EQ("target", Text(target));
  EXPECT_TRUE(manager.DirDelete(At(name)));
  fs::create_directory(onDisk + "/" + raw);
  EXPECT_TRUE(manager.DirEnsure(At(name + "/" + name)) && manager.FileIsDir(At(name)));
  EXPECT_EQ(Names{raw}, RawNames());
  EXPECT_TRUE(manager.FileCreateTempInDir(At(name), made) && manager.FileDelete(made));
  EXPECT_TRUE(manager.DirDelete(At(name + "/" + name)) && manager.DirDeleteWithContents(At(name)));
  EXPECT_EQ(Names{}, RawNames());
}

}  // namespace
}  // namespace quill_test
