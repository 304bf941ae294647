// Moving to the trash: where an item goes, what is recorded of it, and what is refused.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"
#include "tests/support/RecordingManager.h"
#include "tests/support/ScopedVariable.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

class TrashTest : public DirectoryTest {
 protected:
  void SetUp() override {
    DirectoryTest::SetUp();
    fs::create_directory(In("work"));
    data.emplace("XDG_DATA_HOME", In("data"));
  }
  void TearDown() override {
    data.reset();
    DirectoryTest::TearDown();
  }

  std::string Trashed(const std::string& path) {
    QuillFileString result;
    EXPECT_TRUE(manager.FileOrDirMoveToTrash(Path(path), result)) << path << ' ' << manager.GetLastError();
    return Text(result);
  }

  std::string Refused(const std::string& path) {
    QuillFileString result;
    EXPECT_FALSE(manager.FileOrDirMoveToTrash(Path(path), result)) << path;
    EXPECT_EQ("(none)", Text(result));
    return manager.Reason();
  }

  std::string Home(const std::string& below) { return In("data/Trash/" + below); }

  RecordingManager manager;
  std::optional<ScopedVariable> data;
};

TEST_F(TrashTest, RecordsWhereAnItemLay) {
  WriteFile(In("work/a b%\n\xc3\xa9"), "x");
  fs::create_symlink(In("work"), In("through"));
  EXPECT_EQ(Home("files/a b%\n\xc3\xa9"), Trashed(In("through/a b%\n\xc3\xa9")));
  EXPECT_EQ("x", Contents(Home("files/a b%\n\xc3\xa9")));
  const std::string record = Contents(Home("info/a b%\n\xc3\xa9.trashinfo"));
  const std::string path = fs::canonical(In("work")).string() + "/a%20b%25%0A%C3%A9";
  const std::string head = "[Trash Info]\nPath=" + path + "\nDeletionDate=";
  ASSERT_TRUE(record.starts_with(head)) << record;
  int fields[6], length = 0;
  const char* const date = record.c_str() + head.size();
  EXPECT_EQ(6, std::sscanf(date, "%4d-%2d-%2dT%2d:%2d:%2d\n%n", &fields[0], &fields[1], &fields[2], &fields[3],
                           &fields[4], &fields[5], &length));
  EXPECT_EQ(record.size(), head.size() + 20) << record;
  EXPECT_EQ(20, length);
  for (const char* place : {"", "files", "info"}) {
    struct ::stat status {};
    ASSERT_EQ(0, ::stat(Home(place).c_str(), &status));
    EXPECT_EQ(0700U, status.st_mode & 07777) << place;
  }
}

TEST_F(TrashTest, NeverReplacesWhatLiesThere) {
  for (int time = 0; time < 3; ++time) {
    WriteFile(In("work/f"), std::to_string(time));
    (void)Trashed(In("work/f"));
  }
  EXPECT_EQ("0", Contents(Home("files/f")));
  EXPECT_EQ("1", Contents(Home("files/f.2")));
  EXPECT_EQ("2", Contents(Home("files/f.3")));

  WriteFile(Home("files/orphan"), "without a record");
  WriteFile(Home("info/taken.trashinfo"), "a record alone");
  for (const char* name : {"orphan", "taken"}) {
    WriteFile(In(std::string("work/") + name), "new");
    EXPECT_EQ(Home(std::string("files/") + name + ".2"), Trashed(In(std::string("work/") + name)));
  }
  EXPECT_EQ("without a record", Contents(Home("files/orphan")));
  EXPECT_FALSE(fs::exists(Home("info/orphan.trashinfo")));
}

TEST_F(TrashTest, ShortensNamesForTheirRecords) {
  std::string name(1, 'x');
  while (name.size() < 255) name += "\xc3\xa9";
  for (int time = 0; time < 2; ++time) {
    WriteFile(In("work/" + name), "");
    const std::string place = fs::path(Trashed(In("work/" + name))).filename();
    EXPECT_LE(place.size() + 10, 255U);
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
  EXPECT_TRUE(fs::exists(In("work/tree/deep/f")));
  EXPECT_EQ("x", Contents(Trashed(In("work/tree//")) + "/deep/f"));
  EXPECT_TRUE(fs::is_empty(In("work")));
}

TEST_F(TrashTest, RefusesWithoutATrace) {
  WriteFile(In("work/f"), "");
  fs::remove(Trashed(In("work/f")));
  fs::remove(Home("info/f.trashinfo"));
  EXPECT_EQ("3003 recorded", Refused(In("work/none")));
  EXPECT_EQ("3003 recorded", Refused(In("none/none")));
  for (const char* path : {"/", ".", "..", ""}) EXPECT_EQ("3000 recorded", Refused(path)) << path;
  EXPECT_EQ("3000 recorded", Refused(In("work/..")));
  EXPECT_EQ("3000 recorded", Refused(In("data")));  // the trash lies in it
  EXPECT_EQ("3000 recorded", Refused(In("data/Trash")));
  EXPECT_TRUE(fs::is_empty(Home("info")));
}

TEST_F(TrashTest, UsesTheTrashOfTheItemsVolume) {
  fs::create_directory(In("volume"));
  const Mount mount("tmpfs", In("volume"), "size=1m");
  if (!mount) GTEST_SKIP() << mount.WhyNot();
  const std::string user = std::to_string(::geteuid());
  const auto trash = [&](const std::string& name) {
    WriteFile(In("volume/d-" + name), "x");
    return Trashed(In("volume/d-" + name));
  };
  const std::string own = In("volume/.Trash-" + user), shared = In("volume/.Trash");
  EXPECT_EQ(own + "/files/d-1", trash("1"));
  EXPECT_TRUE(Contents(own + "/info/d-1.trashinfo").starts_with("[Trash Info]\nPath=d-1\n"));

  fs::create_directory(shared);  // not sticky: anybody could exchange what lies in it
  EXPECT_EQ(own + "/files/d-2", trash("2"));
  ASSERT_EQ(0, ::chmod(shared.c_str(), 01777));
  EXPECT_EQ(shared + '/' + user + "/files/d-3", trash("3"));

  fs::rename(shared, In("volume/elsewhere"));
  fs::create_symlink("elsewhere", shared);
  EXPECT_EQ(own + "/files/d-4", trash("4"));

  fs::remove_all(own);
  WriteFile(own, "in the way");
  EXPECT_EQ(Home("files/d-5"), trash("5"));  // copied, as neither of the volume's places can be had
  EXPECT_FALSE(fs::exists(In("volume/d-5")));
}

}  // namespace
}  // namespace quill_test
