// An attacker plants a link under the very name that a temporary item is about to get.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

namespace fs = std::filesystem;

class PlantedLink : public SweepTest {};

TEST_F(PlantedLink, IsNeverFollowedByATemporaryItem) {
  const std::string place = In("place");
  const std::string bait = In("bait");
  fs::create_directory(place);
  fs::create_directory(bait);
  quill_test::WriteFile(bait + "/file", "BAIT");
  const Snapshot before = Describe(bait);

  Tracee subject({QUILL_TREE_DRIVER, "--stop", "temporaries", place, "1"}, Window::kBetweenStops);
  int planted = 0;
  while (subject.Next()) {
    const fs::path name = fs::path(subject.Path()).filename();
    const bool mayCreate = subject.Is("openat") || subject.Is("open") || subject.Is("mkdirat") || subject.Is("mkdir");
    if (!mayCreate || name.empty() || fs::exists(fs::symlink_status(place / name)) || planted == 20) continue;
    fs::create_symlink(planted++ % 2 == 0 ? bait + "/file" : bait + "/new", place / name);
  }
  EXPECT_EQ(0, subject.Finish().status);
  EXPECT_GT(planted, 1) << "no name was seen before it was taken";
  EXPECT_EQ("", Difference(before, Describe(bait), Scope::kIdentity));
}

}  // namespace
}  // namespace quill_sweep
