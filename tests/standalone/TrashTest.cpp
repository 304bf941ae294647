// Moving to the trash: where an item goes, what is recorded of it, and what is refused.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/Mount.h"
#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

class TrashTest : public ManagerTest {
 protected:
  void SetUp() override {
    ManagerTest::SetUp();
    fs::create_directory(In("work"));
    data.emplace("XDG_DATA_HOME", In("data"));
  }

  /// Where the item lies then.
  std::string Trashed(const std::string& path) {
    QuillFileString result;
    EXPECT_EQ("true, nothing", Outcome(manager.FileOrDirMoveToTrash(Path(path), result))) << path;
    return Text(result);
  }
  std::string TrashedAnew(const std::string& path, const std::string& contents) {
    WriteFile(path, contents);
    return Trashed(path);
  }

  std::string Home(const std::string& below) { return In("data/Trash/" + below); }

  std::optional<ScopedVariable> data;
};

TEST_F(TrashTest, RecordsWhereAnItemLay) {
  fs::create_symlink(In("work"), In("through"));
  WriteFile(In("work/a b%\n\xc3\xa9"), "x");
  const ::mode_t before = ::umask(0777);  // takes all rights on the trash
  EXPECT_EQ(Home("files/a b%\n\xc3\xa9"), Trashed(In("through/a b%\n\xc3\xa9")));
  ::umask(before);
  EXPECT_EQ("x", Contents(Home("files/a b%\n\xc3\xa9")));
  const std::string record = Contents(Home("info/a b%\n\xc3\xa9.trashinfo"));
  const std::string path = fs::canonical(In("work")).native() + "/a%20b%25%0A%C3%A9";
  const std::string head = "[Trash Info]\nPath=" + path + "\nDeletionDate=";
  ASSERT_TRUE(record.starts_with(head)) << record;
  std::string date = record.substr(head.size());
  std::replace_if(
      date.begin(), date.end(), [](char byte) { return byte >= '0' && byte <= '9'; }, '0');
  EXPECT_EQ("0000-00-00T00:00:00\n", date);
  for (const char* place : {"", "files", "info"}) EXPECT_EQ(0700U, ModeOf(Home(place))) << place;
}

TEST_F(TrashTest, NeverReplacesWhatLiesThere) {
  for (const char* name : {"f", "f.2", "f.3"}) {
    EXPECT_EQ(Home("files/") + name, TrashedAnew(In("work/f"), name));
  }
  for (const char* name : {"f", "f.2", "f.3"}) EXPECT_EQ(name, Contents(Home("files/") + name));

  WriteFile(Home("files/orphan"), "without a record");
  WriteFile(Home("info/taken.trashinfo"), "a record alone");
  EXPECT_EQ(Home("files/orphan.2"), TrashedAnew(In("work/orphan"), "new"));
  EXPECT_EQ(Home("files/taken.2"), TrashedAnew(In("work/taken"), "new"));
  EXPECT_EQ("without a record", Contents(Home("files/orphan")));
  EXPECT_FALSE(fs::exists(Home("info/orphan.trashinfo")));
}

TEST_F(TrashTest, ShortensNamesForTheirRecords) {
  std::string name(1, 'x');
  while (name.size() < 255) name += "\xc3\xa9";
  for (int time = 0; time < 2; ++time) {
    const std::string place = fs::path(TrashedAnew(In("work/" + name), "")).filename();
    EXPECT_LE(place.size() + std::string(".trashinfo").size(), 255U);
    EXPECT_TRUE(fs::exists(Home("info/" + place + ".trashinfo")));
    EXPECT_EQ(name.substr(0, 241), place.substr(0, 241));
  }
}

TEST_F(TrashTest, TakesLinksThemselvesAndWholeTrees) {
  fs::create_directories(In("work/tree/deep"));
  WriteFile(In("work/tree/deep/f"), "x");
  fs::create_symlink("tree", In("work/link"));
  fs::create_symlink("nothing", In("work/dangling"));
  EXPECT_TRUE(fs::is_symlink(Trashed(In("work/link"))));
  EXPECT_TRUE(fs::is_symlink(Trashed(In("work/dangling"))));
  EXPECT_EQ("x", Contents(Trashed(In("work/tree//")) + "/deep/f"));
  EXPECT_TRUE(fs::is_empty(In("work")));
}

TEST_F(TrashTest, RefusesWithoutATrace) {
  fs::remove(TrashedAnew(In("work/f"), ""));
  fs::remove(Home("info/f.trashinfo"));
  QuillFileString result = Path("untouched");
  for (const auto& path : {In("work/none"), In("none/none")}) {
    EXPECT_EQ("false, 3003 recorded", Outcome(manager.FileOrDirMoveToTrash(Path(path), result))) << path;
  }
  // The trash itself and what it lies in cannot be moved there either.
  for (const auto& path : {std::string("/"), std::string("."), std::string(".."), std::string(), In("work/.."),
                           In("data"), In("data/Trash")}) {
    EXPECT_EQ("false, 3000 recorded", Outcome(manager.FileOrDirMoveToTrash(Path(path), result))) << path;
  }
  EXPECT_EQ("untouched", Text(result));
  EXPECT_TRUE(fs::is_empty(Home("info")));
}

TEST_F(TrashTest, UsesTheTrashOfTheItemsVolume) {
  fs::create_directory(In("volume"));
  const Mount mount("tmpfs", In("volume"), "size=1m");
  if (!mount) GTEST_SKIP() << mount.WhyNot();
  const std::string user = std::to_string(::geteuid());
  const auto trash = [&](const std::string& name) { return TrashedAnew(In("volume/" + name), "x"); };
  const std::string own = In("volume/.Trash-" + user), shared = In("volume/.Trash");
  EXPECT_EQ(own + "/files/1", trash("1"));
  EXPECT_TRUE(Contents(own + "/info/1.trashinfo").starts_with("[Trash Info]\nPath=1\n"));

  fs::create_directory(shared);  // not sticky: anybody could exchange what lies in it
  EXPECT_EQ(own + "/files/2", trash("2"));
  ASSERT_EQ(0, ::chmod(shared.c_str(), 01777));
  EXPECT_EQ(shared + '/' + user + "/files/3", trash("3"));

  fs::rename(shared, In("volume/elsewhere"));
  fs::create_symlink("elsewhere", shared);
  EXPECT_EQ(own + "/files/4", trash("4"));

  fs::remove(shared);
  fs::rename(In("volume/elsewhere"), shared);
  EXPECT_EQ(shared + '/' + user + "/files/again", trash("again"));
  const uid_t other = 65533;
  ASSERT_EQ(0, ::chown(shared.c_str(), other, other));  // who may exchange anything in it, in spite of the bit
  EXPECT_EQ(own + "/files/others", trash("others"));
  ASSERT_EQ(0, ::chown(shared.c_str(), 0, 0));
  fs::rename(shared + '/' + user + "/files", shared + '/' + user + "/kept");
  fs::create_directory_symlink(In("work"), shared + '/' + user + "/files");
  EXPECT_EQ(own + "/files/planted", trash("planted"));
  for (const char* taken : {"", "files", "info"}) {
    const std::string place = own + '/' + taken, name = "beside" + std::string(taken);
    ASSERT_EQ(0, ::chown(place.c_str(), other, other));
    EXPECT_EQ(Home("files/" + name), trash(name)) << place;
    ASSERT_EQ(0, ::chown(place.c_str(), 0, 0));
  }

  fs::remove_all(own);
  WriteFile(own, "in the way");
  EXPECT_EQ(Home("files/5"), trash("5"));  // copied, as neither of the volume's places can be had
  EXPECT_FALSE(fs::exists(In("volume/5")));
}

}  // namespace
}  // namespace quill_test
