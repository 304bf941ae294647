#include "tests/sweeps/Scene.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>

#include "tests/support/Fixture.h"

namespace quill_sweep {
namespace {

using quill_test::WriteFile;
namespace fs = std::filesystem;

constexpr unsigned kNobody = 65534;
constexpr std::size_t kShownFindings = 25;
// POSIX.1e, as Linux stores it: version 2, the owner, uid 65534, the group, the mask and others.
constexpr unsigned char kAccessList[] = {2, 0,   0,   0,   1,   0,   6,  0, 255, 255, 255, 255, 2,   0,  4,
                                         0, 254, 255, 0,   0,   4,   0,  4, 0,   255, 255, 255, 255, 16, 0,
                                         4, 0,   255, 255, 255, 255, 32, 0, 0,   0,   255, 255, 255, 255};

// Times of its own for each item, the same by whatever name: FUSE remembers for a second what it showed under another.
void Stamp(const std::string& path) {
  struct stat status {};
  ASSERT_EQ(0, ::lstat(path.c_str(), &status)) << path;
  const auto seconds = static_cast<time_t>(1'000'000'000 + status.st_ino % 10'000);
  const timespec times[] = {{seconds, 111'222'333}, {seconds, 987'654'321}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW)) << path;
}

void StampAll(const std::string& root) {
  std::vector<std::string> paths{root};
  for (const auto& entry : fs::recursive_directory_iterator(root)) paths.push_back(entry.path());
  for (auto path = paths.rbegin(); path != paths.rend(); ++path) Stamp(*path);
}

void MakeSparse(const std::string& path) {
  WriteFile(path, "");
  const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  EXPECT_EQ(6, ::pwrite(file, "middle", 6, 96 << 10));
  EXPECT_EQ(0, ::ftruncate(file, 256 << 10));
  ::close(file);
}

void Decorate(const std::string& path) {
  EXPECT_EQ(0, ::setxattr(path.c_str(), "user.note", "remember", 8, 0));
  (void)::setxattr(path.c_str(), "system.posix_acl_access", kAccessList, sizeof kAccessList, 0);  // where there are any
}

bool KeepsAttributes(const std::string& directory) {
  return ::setxattr(directory.c_str(), "user.probe", "1", 1, 0) == 0;
}

// Some file systems give each name of a file an inode number of its own.
bool ShowsHardLinks(const std::string& directory) {
  const std::string one = directory + "/one";
  const std::string other = directory + "/other";
  WriteFile(one, "");
  std::error_code error;
  fs::create_hard_link(one, other, error);
  struct stat first {};
  struct stat second {};
  const bool areThere = ::lstat(one.c_str(), &first) == 0 && ::lstat(other.c_str(), &second) == 0;
  ::unlink(one.c_str());
  ::unlink(other.c_str());
  return !error && areThere && first.st_ino == second.st_ino;
}

Abilities AbilitiesOf(const std::string& from, const std::string& to) {
  return {KeepsAttributes(from) && KeepsAttributes(to), ShowsHardLinks(from) && ShowsHardLinks(to)};
}

}  // namespace

void MakeSampleTree(const std::string& root, Abilities abilities) {
  fs::create_directories(root + "/nested/deep");
  fs::create_directories(root + "/empty");
  fs::create_directories(root + "/locked");
  WriteFile(root + "/plain", "plain bytes");
  WriteFile(root + "/nested/deep/leaf", "leaf bytes");
  WriteFile(root + "/locked/inside", "inside bytes");
  WriteFile(root + "/special", "special bytes");
  if (abilities.attributes) Decorate(root + "/plain");
  if (abilities.hardLinks) fs::create_hard_link(root + "/plain", root + "/nested/twin");
  fs::create_symlink("plain", root + "/link");
  fs::create_symlink("nowhere", root + "/dangling");
  ASSERT_EQ(0, ::mkfifo((root + "/fifo").c_str(), 0600));
  MakeSparse(root + "/sparse");
  if (::geteuid() == 0) {
    ASSERT_EQ(0, ::chown((root + "/nested/deep/leaf").c_str(), kNobody, kNobody));
  }
  ASSERT_EQ(0, ::chmod((root + "/special").c_str(), 04751));
  ASSERT_EQ(0, ::chmod((root + "/nested").c_str(), 0700));
  StampAll(root);
  ASSERT_EQ(0, ::chmod((root + "/locked").c_str(), 0555));
}

void RemoveAll(const std::string& path) {
  std::error_code error;
  fs::remove_all(path, error);
  if (!error) return;
  for (auto entry = fs::recursive_directory_iterator(path, fs::directory_options::skip_permission_denied, error);
       entry != fs::recursive_directory_iterator(); entry.increment(error))
    if (entry->is_directory() && !entry->is_symlink()) fs::permissions(entry->path(), fs::perms::owner_all, error);
  fs::remove_all(path, error);
  EXPECT_FALSE(error) << path << ": " << error.message();
}

std::string TitleOf(const Operation& operation) {
  std::string title = operation.name;
  if (operation.crosses) title += operation.returns ? " from the other file system" : " to another file system";
  return title;
}

Scene::Scene(const Operation& subject, const std::string& here, const std::string& elsewhere)
    : operation(subject),
      from((subject.returns ? elsewhere : here) + "/from"),
      to((subject.crosses && !subject.returns ? elsewhere : here) + "/to") {
  source = from + "/source";
  destinationParent = to;
  destination = to + (operation.verb == Verb::kEnsure ? "/one/two/three" : "/result");
  bait = (operation.returns ? elsewhere : here) + "/bait";
}

Scene::~Scene() {
  Clear();
  RemoveAll(bait);
}

void Scene::Clear() {
  RemoveAll(from);
  RemoveAll(to);
}

void Scene::Build() {
  Clear();
  fs::create_directories(from);
  fs::create_directories(to);
  MakeSampleTree(source, AbilitiesOf(from, to));
  original = Describe(source);
  if (operation.clobbers) {
    fs::create_directories(destination + "/old/older");
    WriteFile(destination + "/old/older/was", "old bytes");
    WriteFile(destination + "/before", "before bytes");
    occupant = Describe(destination);
  }
  if (fs::exists(bait)) return;
  for (const char* name : {"/nested/deep", "/empty", "/locked", "/old"}) fs::create_directories(bait + name);
  for (const char* name : {"/plain", "/nested/deep/leaf", "/nested/twin", "/locked/inside", "/special", "/empty/file"})
    WriteFile(bait + name, "BAIT");
}

std::vector<std::string> Scene::Command() const {
  const char* subject = std::getenv("QUILL_SWEEP_SUBJECT");
  const bool ofSystem = subject && std::string_view(subject) == "coreutils";
  auto words = ofSystem ? operation.command : std::vector<std::string>{QUILL_TREE_DRIVER, "--stop", operation.name};
  if (operation.verb != Verb::kEnsure) words.push_back(source);
  if (operation.verb != Verb::kRemove) words.push_back(destination);
  return words;
}

Tracee Scene::Start() const {
  const auto words = Command();
  return {words, words[0] == QUILL_TREE_DRIVER ? Window::kBetweenStops : Window::kWholeProgram};
}

int Scene::CountCalls(const std::function<void(const Tracee&)>& look) {
  Build();
  const Abilities abilities = AbilitiesOf(from, to);
  if (!abilities.attributes) std::cout << "SKIPPED extended attributes: not kept here" << std::endl;
  if (!abilities.hardLinks) std::cout << "SKIPPED hard links: not told from other files here" << std::endl;
  Tracee subject = Start();
  int count = 0;
  for (; subject.Next(); ++count) look(subject);
  EXPECT_EQ(0, subject.Finish().status) << TitleOf(operation) << " undisturbed";
  EXPECT_EQ("", WhatIsUntrue(Scope::kMetadata)) << TitleOf(operation) << " undisturbed";
  return count;
}

std::string Scene::WhatIsHalfMade(Scope scope) const {
  if (operation.verb == Verb::kRemove || operation.verb == Verb::kEnsure) return "";
  const Snapshot there = Describe(destination);
  const std::string difference = Difference(original, there, scope);
  const bool isOld = operation.clobbers && IsPartOf(there, occupant);
  if (!there.empty() && !difference.empty() && !isOld) return "half-made at the destination:" + difference;
  const std::string loss = Difference(original, Describe(source), Scope::kMetadata);
  if (loss.empty()) return "";
  if (operation.verb == Verb::kCopy) return "the source changed:" + loss;
  return difference.empty() ? "" : "neither source nor destination is whole:" + loss;
}

std::string Scene::WhatIsUntrue(Scope scope) const {
  if (operation.verb == Verb::kEnsure) return fs::is_directory(destination) ? "" : "no directory was made";
  const bool leaves = operation.verb == Verb::kMove || operation.verb == Verb::kRemove;
  if (leaves && !Describe(source).empty()) return "the source still stands";
  if (operation.verb == Verb::kRemove) return "";
  return Difference(original, Describe(destination), scope);
}

std::vector<std::string> Scene::Strays() const {
  std::vector<std::string> strays;
  for (const auto& [directory, own] :
       {std::pair{from, "source"}, {to, operation.verb == Verb::kEnsure ? "one" : "result"}})
    for (const auto& entry : fs::directory_iterator(directory))
      if (entry.path().filename() != own) strays.push_back(entry.path());
  return strays;
}

bool IsFullSweep() {
  const char* wish = std::getenv("QUILL_SWEEP");
  return wish && std::string_view(wish) == "full";
}

bool IsChosenCall(int call) {
  const char* wish = std::getenv("QUILL_SWEEP_CALL");
  return !wish || std::atoi(wish) == call;
}

bool IsChosenOperation(const Operation& operation) {
  const char* wish = std::getenv("QUILL_SWEEP_OPERATION");
  return !wish || TitleOf(operation) == wish;
}

void Findings::Add(const std::string& where, const std::string& what) { lines.push_back(where + ": " + what); }

Findings::~Findings() {
  std::cout << title << ": " << points << " points, " << lines.size() << " findings";
  if (leftovers != 0) std::cout << ", " << leftovers << " leftovers under temporary names where no clean-up could run";
  std::cout << (IsFullSweep() ? "" : " (thinned; QUILL_SWEEP=full runs all)") << std::endl;
  EXPECT_GT(points, 0U) << title;
  for (std::size_t i = 0; i < lines.size() && i < kShownFindings; ++i) ADD_FAILURE() << title << ", " << lines[i];
  if (lines.size() > kShownFindings) ADD_FAILURE() << title << ": " << lines.size() << " findings in all";
}

}  // namespace quill_sweep
