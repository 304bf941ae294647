// Links: made, read, and resolved one step.

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/darwin/names/Normalization.h"
#include "tests/support/RecordingManager.h"

namespace quill_test {
namespace {

namespace fs = std::filesystem;

using LinksTest = ManagerTest;

TEST_F(LinksTest, LinksAreMadeReadAndResolvedOneStep) {
  const std::string longText(1023, 'x'), tooLong(1500, 'y');
  for (const std::string& text :
       {std::string("../x"), std::string("/abs/y"), std::string("e\xcc\x81"), longText, tooLong}) {
    if (text == tooLong && ::symlink(text.c_str(), In("probe").c_str()) != 0) {
      std::cout << "SKIPPED a link text of 1500 bytes: " << std::strerror(errno) << std::endl;
      continue;
    }
    QuillFileString target, path = At("link");
    EXPECT_TRUE(manager.FileCreateSymLink(Path(text), path) && manager.FileReadSymLink(path, target)) << text;
    EXPECT_EQ(text.substr(0, 1024), Text(target));
    EXPECT_TRUE(manager._PathCanonicalizeSymLink(path));
    EXPECT_EQ(text.starts_with('/') ? text : In(quill::darwin::FormC(text)), Text(path));
    ASSERT_TRUE(manager.FileDelete(At("link")));
  }
  WriteFile(In("file"), "x");
  QuillFileString file = At("file"), target = Path("untouched");
  EXPECT_EQ("false, nothing", Outcome(manager._PathCanonicalizeSymLink(file)));
  EXPECT_EQ(In("file"), Text(file));
  EXPECT_EQ("false, 3000 stored", Outcome(manager.FileReadSymLink(file, target)));
  EXPECT_EQ("false, 3003 stored", Outcome(manager.FileReadSymLink(At("missing"), target)));
  EXPECT_EQ("untouched", Text(target));
  EXPECT_EQ("false, 3011 stored", Outcome(manager.FileCreateSymLink(Path("x"), file)));
  EXPECT_EQ("false, 3003 stored", Outcome(manager.FileCreateSymLink(Path("x"), At("missing/link"))));
}

}  // namespace
}  // namespace quill_test
