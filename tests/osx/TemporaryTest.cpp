// Temporary items: where they are made, how they are named, and with which permissions.

#include <sys/stat.h>

#include <filesystem>

#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using TemporaryTest = ManagerTest;

TEST_F(TemporaryTest, TemporaryItemsAreNamedByTheTemplateWhereTheTableSays) {
  struct InPlace : RecordingManager {
    bool DirGetTemp(QuillFileString& directory) override {
      directory.setUTF8(place.c_str());
      return !place.empty();
    }
    std::string place;
  } host;
  QuillFileString result = Path("untouched");
  EXPECT_FALSE(host.FileCreateTemp(result) || host.DirCreateTemp(result));
  EXPECT_EQ("nothing", host.Reason());
  EXPECT_FALSE(host.DirCreateTempInDir(At("missing"), result));
  EXPECT_EQ("2038 recorded", host.Reason());
  EXPECT_EQ("untouched", Text(result));

  host.place = Root();
  for (const auto make : {&CoreFileManager::FileCreateTemp, &CoreFileManager::DirCreateTemp}) {
    EXPECT_TRUE((host.*make)(result));
    EXPECT_TRUE(Text(result).starts_with(In("QuillTmp.")) && fs::is_empty(Text(result))) << Text(result);
    EXPECT_EQ(In("QuillTmp.XXXXXX").size(), Text(result).size());
  }
  EXPECT_TRUE(host.FileCreateTempInDir(At("made/for it"), result));
  EXPECT_EQ("nothing", host.Reason());

  for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
    const mode_t before = ::umask(mask);
    EXPECT_TRUE(host.FileCreateTemp(result));
    EXPECT_EQ(0644U, ModeOf(Text(result))) << std::oct << mask;
    EXPECT_TRUE(host.DirCreateTemp(result));
    EXPECT_EQ(0755U, ModeOf(Text(result))) << std::oct << mask;
    ::umask(before);
  }
}

}  // namespace
}  // namespace quill_test
