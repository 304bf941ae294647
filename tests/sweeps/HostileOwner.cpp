#include "tests/sweeps/HostileOwner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <tuple>

#include "tests/support/Fixture.h"
#include "tests/support/Trees.h"
#include "tests/sweeps/Scene.h"

namespace quill_sweep {
namespace {

namespace fs = std::filesystem;
using quill_test::WriteFile;

constexpr mode_t kSetIds = S_ISUID | S_ISGID;

void MakeAs(const std::string& path, std::string_view contents, mode_t mode) {
  WriteFile(path, contents);
  (void)::chmod(path.c_str(), mode);
}

std::string RightsOf(int descriptor) {
  struct stat status {};
  EXPECT_EQ(0, ::fstat(descriptor, &status));
  char text[32];
  std::snprintf(text, sizeof text, "%o %u", status.st_mode & 07777, status.st_uid);
  return text;
}

/// What goes to the trash, and the record of it.
bool IsOfTheTrash(const fs::path& path) { return path.filename() == "roots" || path.extension() == ".trashinfo"; }

bool IsRootsAlone(const fs::path& directory) {
  struct stat status {};
  return ::lstat(directory.c_str(), &status) == 0 && status.st_uid == 0 && (status.st_mode & ACCESSPERMS) == S_IRWXU;
}

std::string WhatIsWrongWith(const fs::path& path, const std::string& itsPlace) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return "";
  const bool isRoots = status.st_uid == 0;
  if (isRoots && S_ISREG(status.st_mode) && (status.st_mode & kSetIds) != 0)
    return "a set-id program of root's: " + path.string();
  if (isRoots && !S_ISLNK(status.st_mode) && (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
    return "she may write to root's " + path.string();
  // Everything of hers in a trap is called this.
  if (isRoots && path.filename() == "kept") return "root took over " + path.string();
  if (IsOfTheTrash(path) && path.parent_path() != itsPlace && !IsRootsAlone(path.parent_path()))
    return "in a directory of her choice: " + path.string();
  return "";
}

/// One that looks like a trash, with everything that the operation would make in it.
void MakeHerDirectory(const std::string& place) {
  for (const char* below : {"", "/files", "/info"}) {
    fs::create_directory(place + below);
    GiveAway(place + below);
  }
  WriteFile(place + "/kept", "kept");
  GiveAway(place + "/kept");
  (void)::chmod(place.c_str(), 0777);
}

}  // namespace

bool IsRootsOwn(Trap trap) { return trap == Trap::kRootsFile || trap == Trap::kRootsDirectory; }

void GiveAway(const std::string& path) { ASSERT_EQ(0, ::lchown(path.c_str(), kAttacker, kAttacker)) << path; }

Bait::Bait(std::string path) : root(std::move(path)) {
  fs::create_directories(root + "/empty");
  MakeAs(root + "/secret", "BAIT", 0600);
  MakeAs(root + "/program", "BAIT", 04755);
  (void)::chmod((root + "/empty").c_str(), 0700);
  (void)::chmod(root.c_str(), 0700);
  WaitForTheNextTick();
  before_ = quill_test::Describe(root);
  secret_ = ::open((root + "/secret").c_str(), O_RDONLY | O_CLOEXEC);
  empty_ = ::open((root + "/empty").c_str(), O_RDONLY | O_CLOEXEC);
}

Bait::~Bait() {
  ::close(secret_);
  ::close(empty_);
  quill_test::RemoveAll(root);
}

std::string Bait::WhatChanged(Trap trap) const {
  if (RightsOf(secret_) != "600 0" || RightsOf(empty_) != "700 0")
    return "rights were given: " + RightsOf(secret_) + ", " + RightsOf(empty_);
  if (IsRootsOwn(trap)) return "";
  const std::string difference = Difference(before_, quill_test::Describe(root), quill_test::Scope::kIdentity);
  return difference.empty() ? "" : "the bait changed:" + difference;
}

/// What root makes in the same tick of the clock as the operation begins cannot be told from what that makes.
void Bait::WaitForTheNextTick() const {
  struct stat made {};
  timespec now{};
  ASSERT_EQ(0, ::stat((root + "/empty").c_str(), &made));
  do {
    ASSERT_EQ(0, ::clock_gettime(CLOCK_REALTIME_COARSE, &now));
  } while (std::tie(now.tv_sec, now.tv_nsec) <= std::tie(made.st_mtim.tv_sec, made.st_mtim.tv_nsec));
}

void MakeTrap(const std::string& place, Trap trap, const Bait& bait) {
  switch (trap) {
    case Trap::kHerDirectory:
      return MakeHerDirectory(place);
    case Trap::kLinkToDirectory:
      fs::create_symlink(bait.root + "/empty", place);
      return GiveAway(place);
    case Trap::kLinkToProgram:
      fs::create_symlink(bait.root + "/program", place);
      return GiveAway(place);
    case Trap::kHerProgram:
      WriteFile(place, "hers");
      GiveAway(place);
      (void)::chmod(place.c_str(), 04777);
      return;
    case Trap::kRootsFile:
      return fs::create_hard_link(bait.root + "/secret", place);
    case Trap::kRootsDirectory:
      return fs::rename(bait.root + "/empty", place);
  }
}

bool OwnedOperation::Is(const char* name) const { return std::string_view(verb) == name; }

bool OwnedOperation::HasSource() const { return !Is("ensure") && !Is("temporaries") && !Is("trash"); }

std::string OwnedOperation::Title() const {
  return std::string(verb) + (!crosses ? "" : returns ? " from the other file system" : " to another file system");
}

Stage::Stage(const OwnedOperation& subject, const std::string& here, const std::string& elsewhere)
    : operation(subject),
      from((subject.returns ? elsewhere : here) + "/hers"),
      source(from + "/source"),
      to(subject.Is("trash") ? here + "/volume"
                             : (subject.crosses && !subject.returns ? elsewhere : here) + "/also-hers") {}

void Stage::Build() const {
  Clear();
  fs::create_directories(source + "/directory");
  fs::create_directories(to);
  WriteFile(source + "/directory/file", "file");
  WriteFile(source + "/program", "hers");
  fs::create_symlink("program", source + "/link");
  (void)::mkfifo((source + "/fifo").c_str(), 0644);
  for (const auto& entry : fs::recursive_directory_iterator(from)) GiveAway(entry.path());
  (void)::chmod((source + "/program").c_str(), 04755);
  GiveAway(from);
  GiveAway(to);
  (void)::chmod(to.c_str(), operation.Is("ensure") ? 01777 : 0755);
  if (operation.Is("clobber")) fs::create_directories(to + "/result/old");
  if (!operation.Is("trash")) return;
  MakeAs(to + "/roots", "roots", 0600);
  fs::create_directory(to + "/.Trash");
  GiveAway(to + "/.Trash");
  (void)::chmod((to + "/.Trash").c_str(), 01777);
  MakeHerDirectory(to + "/.Trash/" + std::to_string(::geteuid()));
}

std::set<std::string> Stage::Names() const {
  std::set<std::string> names;
  for (const auto& directory : {from, to})
    for (const auto& entry : fs::directory_iterator(directory)) names.insert(entry.path());
  return names;
}

std::string Stage::WhatSheGot(Trap trap) const {
  for (const auto& root : {from, to}) {
    if (!IsRootsOwn(trap) && HoldsBait(root)) return "bytes of the bait below " + root;
    if (!fs::is_directory(fs::symlink_status(root))) continue;
    for (const auto& entry : fs::recursive_directory_iterator(root))
      if (const auto what = WhatIsWrongWith(entry.path(), to); !what.empty()) return what;
  }
  return "";
}

void Stage::Clear() const {
  for (const auto& directory : {from, to}) {
    if (!fs::is_directory(fs::symlink_status(directory))) continue;
    for (const auto& entry : fs::directory_iterator(directory)) quill_test::RemoveAll(entry.path());
    (void)::rmdir(directory.c_str());  // a volume stays
  }
}

}  // namespace quill_sweep
