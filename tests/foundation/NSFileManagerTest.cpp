#include "platform/foundation/NSFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <map>

#include "tests/support/Fixture.h"
#include "tests/support/Mount.h"

namespace foundation {
namespace {

using quill_test::WriteFile;

RetainPtr<NSString> Text(const std::string& path) { return NSString::stringWithFileSystemBytes(path); }

class NSFileManagerTest : public quill_test::DirectoryTest {
 protected:
  NSFileManager& manager = *NSFileManager::defaultManager();
};

double Seconds(const timespec& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

TEST_F(NSFileManagerTest, AttributesAgreeWithStat) {
  WriteFile(In("file"), "12345");
  ASSERT_EQ(0, ::chmod(In("file").c_str(), 04751));
  const timespec times[] = {{1, 0}, {1, 500'000'000}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, In("file").c_str(), times, 0));
  ASSERT_EQ(0, ::symlink("file", In("link").c_str()));
  ASSERT_EQ(0, ::mkfifo(In("fifo").c_str(), 0600));

  const std::map<std::string, NSFileType> kinds = {{In("file"), NSFileType::kRegular},
                                                   {Root(), NSFileType::kDirectory},
                                                   {In("link"), NSFileType::kSymbolicLink},
                                                   {In("fifo"), NSFileType::kUnknown},
                                                   {"/dev/null", NSFileType::kCharacterSpecial}};
  for (const auto& [path, kind] : kinds) {
    struct stat status;
    ASSERT_EQ(0, ::lstat(path.c_str(), &status));
    const auto attributes = manager.attributesOfItemAtPath(Text(path).get(), NSFinalLink::kItself);
    ASSERT_TRUE(attributes) << path;
    EXPECT_EQ(kind, attributes->fileType()) << path;
    EXPECT_EQ(status.st_size, attributes->fileSize()) << path;
    EXPECT_EQ(Seconds(status.st_mtim), attributes->modificationDate()) << path;
    const NSSettableAttributes expected{status.st_gid, status.st_uid, status.st_mode & 07777};
    EXPECT_EQ(expected, attributes->ownership()) << path;
  }
  const auto target = manager.attributesOfItemAtPath(Text(In("link")).get(), NSFinalLink::kTarget);
  EXPECT_EQ(5, target->fileSize());
  EXPECT_EQ(1.5, target->modificationDate());
}

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

TEST_F(NSFileManagerTest, AccessIsTheEffectiveUsers) {
  const auto path = Text(In("f"));
  EXPECT_FALSE(manager.isReadableFileAtPath(path.get()));
  quill_test::AsOrdinaryUser(Root(), [&] {
    WriteFile(In("f"), "");
    for (const unsigned mode : {0u, 0200u, 0400u, 0600u}) {
      ASSERT_EQ(0, ::chmod(In("f").c_str(), mode));
      EXPECT_EQ((mode & 0400) != 0, manager.isReadableFileAtPath(path.get())) << mode;
      EXPECT_EQ((mode & 0200) != 0, manager.isWritableFileAtPath(path.get())) << mode;
    }
  });
  if (::geteuid() != 0) return;  // only root can have another effective user
  ASSERT_EQ(0, ::chown(In("f").c_str(), 0, 0));
  ASSERT_EQ(0, ::seteuid(65534));
  EXPECT_FALSE(manager.isReadableFileAtPath(path.get()));
  ASSERT_EQ(0, ::seteuid(0));
}

TEST_F(NSFileManagerTest, SetsWhatItMayWhenTheRestIsRefused) {
  constexpr unsigned kAnotherGroup = 12345;
  ASSERT_EQ(0, ::mkdir(In("d").c_str(), 0777));
  // A file that an ordinary user makes in it starts out in another group than the user's own.
  if (::geteuid() == 0) {
    ASSERT_EQ(0, ::chown(In("d").c_str(), 0, kAnotherGroup));
  }
  ASSERT_EQ(0, ::chmod(In("d").c_str(), 02777));
  quill_test::AsOrdinaryUser(Root(), [this] {
    WriteFile(In("d/f"), "");
    const auto path = Text(In("d/f"));
    EXPECT_FALSE(manager.setAttributesOfItemAtPath({::getegid(), 0, 0640}, path.get()));
    const auto now = manager.attributesOfItemAtPath(path.get(), NSFinalLink::kItself)->ownership();
    EXPECT_EQ((NSSettableAttributes{::getegid(), ::geteuid(), 0640}), now);
  });
  EXPECT_TRUE(manager.setAttributesOfItemAtPath({}, Text(In("d/f")).get()));
}

}  // namespace
}  // namespace foundation
