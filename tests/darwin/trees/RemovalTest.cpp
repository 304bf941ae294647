#include <sys/stat.h>

#include <filesystem>

#include "platform/darwin/trees/Trees.h"
#include "tests/darwin/trees/RecordingObserver.h"
#include "tests/support/Fixture.h"
#include "tests/support/Trees.h"

namespace {

using namespace quill_test;
namespace fs = std::filesystem;

using RemoveTree = DirectoryTest;

TEST_F(RemoveTree, GoesOnPastWhatResists) {
  AsOrdinaryUser(Root(), [this] {
    for (const char* name : {"tree/a", "tree/closed", "tree/empty", "tree/z/y"}) fs::create_directories(In(name));
    for (const char* name : {"tree/a/1", "tree/closed/kept", "tree/z/y/2", "tree/3"}) WriteFile(In(name), "");
    ASSERT_EQ(0, ::chmod(In("tree/closed").c_str(), 0555));
    ASSERT_EQ(0, ::chmod(In("tree/empty").c_str(), 0));  // cannot be read, but is empty
    RecordingObserver observer;
    const quill::darwin::TreeObserverScope scope(&observer);
    EXPECT_EQ(EACCES, quill::darwin::RemoveTree(In("tree").c_str()));
    EXPECT_EQ(2, std::distance(fs::recursive_directory_iterator(In("tree")), fs::recursive_directory_iterator()));
    EXPECT_TRUE(fs::exists(In("tree/closed/kept")));
    const std::vector<std::pair<std::string, int>> first{{"closed/kept", EACCES}};
    EXPECT_EQ(first, observer.failures);
    EXPECT_EQ(7U, observer.done.items);
    ASSERT_EQ(0, ::chmod(In("tree/closed").c_str(), 0755));

    // The tree's own name stays where nothing may be removed, but what lies in it goes.
    ASSERT_EQ(0, ::chmod(Root().c_str(), 0555));
    EXPECT_EQ(EACCES, quill::darwin::RemoveTree(In("tree").c_str()));
    EXPECT_TRUE(fs::is_empty(In("tree")));
    ASSERT_EQ(0, ::chmod(Root().c_str(), 0755));
  });
}

TEST_F(RemoveTree, StopsWhenTold) {
  MakeMixedTree(In("tree"));
  RecordingObserver observer;
  observer.meddle = [](const quill::darwin::TreeProgress& done) { return done.items < 3; };
  const quill::darwin::TreeObserverScope scope(&observer);
  EXPECT_EQ(ECANCELED, quill::darwin::RemoveTree(In("tree").c_str()));
  EXPECT_EQ(3U, observer.done.items);
  EXPECT_TRUE(fs::exists(In("tree")));
}

}  // namespace
