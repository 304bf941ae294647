// A directory with one of each kind of item that deleting, ensuring, copying and moving meet.
#pragma once

#include <filesystem>
#include <string>

#include "tests/support/RecordingManager.h"

namespace quill_test {

class ChangedTreeTest : public ManagerTest {
 protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    ManagerTest::SetUp();
    WriteFile(In("file"), "contents");
    fs::create_directory(In("empty"));
    fs::create_directories(In("full/sub"));
    WriteFile(In("full/inside"), "x");
    fs::create_symlink("full", In("link"));
    fs::create_symlink("nothing", In("dangling"));
  }

  bool There(const std::string& name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(In(name)));
  }
};

}  // namespace quill_test
