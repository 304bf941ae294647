#include "platform/foundation/NSFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>

#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"

namespace quill::foundation {
namespace {

using quill_test::WriteFile;

RetainPtr<NSString> Text(const std::string& path) { return NSString::stringWithFileSystemBytes(path); }

class NSFileManagerTest : public quill_test::DirectoryTest {
 protected:
  NSFileManager& manager = *NSFileManager::defaultManager();
};

TEST_F(NSFileManagerTest, EarliestTimeStandsForAMissingCreationDate) {
  const quill_test::Mount withoutBirthTimes("ramfs", Root(), nullptr);
  if (!withoutBirthTimes) GTEST_SKIP() << withoutBirthTimes.WhyNot();
  WriteFile(In("f"), "");
  for (const auto& [accessed, modified] : {std::pair(1000, 2000), std::pair(4000, 3000)}) {
    const timespec times[] = {{accessed, 0}, {modified, 0}};
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, In("f").c_str(), times, 0));
    const auto attributes = manager.attributesOfItemAtPath(Text(In("f")).get(), NSFinalLink::kTarget);
    EXPECT_EQ(std::min(accessed, modified), attributes->creationDate());
  }
}

TEST_F(NSFileManagerTest, CreatorCodeIsInTheFinderInformation) {
  WriteFile(In("f"), "");
  ASSERT_EQ(0, ::symlink("f", In("link").c_str()));
  const auto creator = [this] {
    return manager.attributesOfItemAtPath(Text(In("link")).get(), NSFinalLink::kTarget)->hfsCreatorCode();
  };
  EXPECT_EQ(std::nullopt, creator());
  std::string information = "TEXT\xFFxyz";
  const auto store = [&] {
    return ::setxattr(In("f").c_str(), "user.com.apple.FinderInfo", information.data(), information.size(), 0);
  };
  if (store() != 0) GTEST_SKIP() << "no extended attributes here";
  EXPECT_EQ(std::nullopt, creator()) << "cut short";
  information.resize(32);
  ASSERT_EQ(0, store());
  EXPECT_EQ(0xFF78797Aul, creator());
  information.resize(33);
  ASSERT_EQ(0, store());
  EXPECT_EQ(std::nullopt, creator()) << "something else";
}

TEST_F(NSFileManagerTest, AccessIsTheEffectiveUsersNotTheRealUsers) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can have another effective user";
  const auto path = Text(In("f"));
  WriteFile(In("f"), "");
  ASSERT_EQ(0, ::chmod(In("f").c_str(), 0600));
  EXPECT_TRUE(manager.isReadableFileAtPath(path.get()));
  ASSERT_EQ(0, ::seteuid(65534));
  EXPECT_FALSE(manager.isReadableFileAtPath(path.get()));
  ASSERT_EQ(0, ::seteuid(0));
}

}  // namespace
}  // namespace quill::foundation
