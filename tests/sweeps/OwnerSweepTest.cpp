// Root works in directories that belong to another user, who may do there what the owner of a directory may: at each
// system call she exchanges what was made last for something of hers, or plants something under the name that is about
// to be made. She must get nothing by it: no rights, no bytes of others, no program that runs as root.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <tuple>

#include "tests/support/Trees.h"
#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kAttacker = 65533;
constexpr mode_t kSetIds = S_ISUID | S_ISGID;

/// What she puts in the place of an item of ours.
enum class Trap { kHerDirectory, kLinkToDirectory, kLinkToProgram, kHerProgram, kRootsFile, kRootsDirectory };
constexpr int kTraps = 6;

/// An item of root's that stood in her directory, which she may rename.
bool IsRootsOwn(Trap trap) { return trap == Trap::kRootsFile || trap == Trap::kRootsDirectory; }
enum class Attack { kExchangeNewest, kPlantNext };

struct OwnedOperation {
  const char* name;
  bool crosses;
};
constexpr OwnedOperation kOperations[] = {{"copy", false},   {"clobber", false},    {"copy", true},
                                          {"move", true},    {"move", false},       {"remove", false},
                                          {"ensure", false}, {"temporaries", false}};

void GiveAway(const std::string& path) { ASSERT_EQ(0, ::lchown(path.c_str(), kAttacker, kAttacker)) << path; }

/// What root keeps for itself beside all this.
class Bait {
 public:
  explicit Bait(std::string path) : root(std::move(path)) {
    fs::create_directories(root + "/empty");
    std::ofstream(root + "/secret") << "BAIT";
    std::ofstream(root + "/program") << "BAIT";
    (void)::chmod((root + "/secret").c_str(), 0600);
    (void)::chmod((root + "/program").c_str(), 04755);
    (void)::chmod((root + "/empty").c_str(), 0700);
    (void)::chmod(root.c_str(), 0700);
    WaitForTheNextTick();
    before_ = Describe(root);
    secret_ = ::open((root + "/secret").c_str(), O_RDONLY | O_CLOEXEC);
    empty_ = ::open((root + "/empty").c_str(), O_RDONLY | O_CLOEXEC);
  }
  ~Bait() {
    ::close(secret_);
    ::close(empty_);
    quill_test::RemoveAll(root);
  }

  std::string WhatChanged(Trap trap) const {
    if (RightsOf(secret_) != "600 0" || RightsOf(empty_) != "700 0")
      return "rights were given: " + RightsOf(secret_) + ", " + RightsOf(empty_);
    if (IsRootsOwn(trap)) return "";
    const std::string difference = Difference(before_, Describe(root), Scope::kIdentity);
    return difference.empty() ? "" : "the bait changed:" + difference;
  }

  const std::string root;

 private:
  /// What root makes in the same tick of the clock as the operation begins cannot be told from what that makes.
  void WaitForTheNextTick() const {
    struct stat made {};
    timespec now{};
    ASSERT_EQ(0, ::stat((root + "/empty").c_str(), &made));
    do {
      ASSERT_EQ(0, ::clock_gettime(CLOCK_REALTIME_COARSE, &now));
    } while (std::tie(now.tv_sec, now.tv_nsec) <= std::tie(made.st_mtim.tv_sec, made.st_mtim.tv_nsec));
  }

  static std::string RightsOf(int descriptor) {
    struct stat status {};
    EXPECT_EQ(0, ::fstat(descriptor, &status));
    char text[32];
    std::snprintf(text, sizeof text, "%o %u", status.st_mode & 07777, status.st_uid);
    return text;
  }

  Snapshot before_;
  int secret_ = -1;
  int empty_ = -1;
};

class Stage {
 public:
  Stage(const OwnedOperation& operation, const std::string& here, const std::string& elsewhere)
      : operation_(operation),
        from_(here + "/hers"),
        to_((operation.crosses ? elsewhere : here) + "/also-hers"),
        spare_(to_ + "-spare") {}
  ~Stage() { Clear(); }

  void Build() {
    Clear();
    fs::create_directories(from_ + "/source/directory");
    fs::create_directories(to_);
    std::ofstream(from_ + "/source/directory/file") << "file";
    std::ofstream(from_ + "/source/program") << "hers";
    fs::create_symlink("program", from_ + "/source/link");
    (void)::mkfifo((from_ + "/source/fifo").c_str(), 0644);
    for (const auto& entry : fs::recursive_directory_iterator(from_)) GiveAway(entry.path());
    (void)::chmod((from_ + "/source/program").c_str(), 04755);
    GiveAway(from_);
    GiveAway(to_);
    if (std::string(operation_.name) == "clobber") fs::create_directories(to_ + "/result/old");
    seen_ = Names();
  }

  Tracee Start() const {
    const std::string verb = operation_.name;
    std::vector<std::string> words{QUILL_TREE_DRIVER, "--stop", verb};
    if (verb == "ensure") words.push_back(to_ + "/one/two/three");
    if (verb == "remove") words.push_back(from_ + "/source");
    if (verb == "temporaries") words.insert(words.end(), {to_, "1"});
    if (words.size() == 3) words.insert(words.end(), {from_ + "/source", to_ + "/result"});
    return {words, Window::kBetweenStops};
  }

  /// False when there is nothing to attack yet.
  bool Do(Attack attack, Trap trap, const Tracee& subject, const Bait& bait) {
    if (attack == Attack::kExchangeNewest) return ExchangeNewest(trap, bait);
    // A link to a directory that stands in the way of a chain is a part of the path, as everywhere.
    if (trap == Trap::kLinkToDirectory && std::string(operation_.name) == "ensure") return false;
    const fs::path name = fs::path(subject.Path()).filename();
    if (name.empty() || !MayCreate(subject)) return false;
    const fs::path place = fs::path(to_) / name;
    if (fs::exists(fs::symlink_status(place))) return false;
    MakeTrap(place, trap, bait);
    return true;
  }

  /// "" when she owns no more than before.
  std::string WhatSheGot(Trap trap) const {
    for (const auto& root : {from_, to_, spare_}) {
      if (!IsRootsOwn(trap) && HoldsBait(root)) return "bytes of the bait below " + root;
      if (!fs::is_directory(fs::symlink_status(root))) continue;
      for (const auto& entry : fs::recursive_directory_iterator(root)) {
        struct stat status {};
        const bool isRoots = ::lstat(entry.path().c_str(), &status) == 0 && status.st_uid == 0;
        if (isRoots && S_ISREG(status.st_mode) && (status.st_mode & kSetIds) != 0)
          return "a set-id program of root's: " + entry.path().string();
        if (isRoots && !S_ISLNK(status.st_mode) && IsHersByName(entry.path()))
          return "root took over " + entry.path().string();
      }
    }
    return "";
  }

 private:
  void Clear() const {
    for (const auto& made : {from_, to_, spare_}) quill_test::RemoveAll(made);
  }

  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(to_)) names.insert(entry.path());
    for (const auto& entry : fs::directory_iterator(from_)) names.insert(entry.path());
    return names;
  }

  static bool MayCreate(const Tracee& subject) {
    for (const char* call : {"openat", "open", "mkdirat", "mkdir", "symlinkat", "mknodat", "linkat", "renameat2"})
      if (subject.Is(call)) return true;
    return false;
  }

  /// Everything of hers in a trap has this in its name.
  static bool IsHersByName(const fs::path& path) { return path.filename() == "kept"; }

  static void MakeTrap(const fs::path& place, Trap trap, const Bait& bait) {
    switch (trap) {
      case Trap::kHerDirectory:
        fs::create_directory(place);
        std::ofstream(place / "kept") << "kept";
        GiveAway(place / "kept");
        (void)::chmod(place.c_str(), 0777);
        break;
      case Trap::kLinkToDirectory:
        fs::create_symlink(bait.root + "/empty", place);
        break;
      case Trap::kLinkToProgram:
        fs::create_symlink(bait.root + "/program", place);
        break;
      case Trap::kHerProgram:
        std::ofstream(place) << "hers";
        (void)::chmod(place.c_str(), 0777);
        break;
      case Trap::kRootsFile:
        return fs::create_hard_link(bait.root + "/secret", place);
      case Trap::kRootsDirectory:
        return fs::rename(bait.root + "/empty", place);
    }
    GiveAway(place);
    if (trap == Trap::kHerProgram) (void)::chmod(place.c_str(), 04777);
  }

  bool ExchangeNewest(Trap trap, const Bait& bait) {
    for (const auto& path : Names()) {
      if (seen_.contains(path)) continue;
      MakeTrap(spare_, trap, bait);
      return Exchange(path, spare_);
    }
    return false;
  }

  const OwnedOperation operation_;
  const std::string from_;
  const std::string to_;
  const std::string spare_;
  std::set<std::string> seen_;
};

void AttackAt(int call, Attack attack, Trap trap, Stage& stage, const std::string& baitPath, Findings& findings) {
  const Bait bait(baitPath);
  stage.Build();
  Tracee subject = stage.Start();
  if (!subject.RunTo(call)) return;
  const std::string where = "call " + std::to_string(call) + " " + subject.Describe() + ", attack " +
                            std::to_string(static_cast<int>(attack)) + " with trap " +
                            std::to_string(static_cast<int>(trap));
  if (!stage.Do(attack, trap, subject, bait)) return;
  const Outcome outcome = subject.Finish();
  findings.CountPoint();
  findings.Require(outcome.signal == 0, where, "ended by signal " + std::to_string(outcome.signal));
  findings.Add(where, bait.WhatChanged(trap));
  findings.Add(where, stage.WhatSheGot(trap));
}

int CountCalls(Stage& stage) {
  stage.Build();
  Tracee subject = stage.Start();
  int calls = 0;
  while (subject.Next()) ++calls;
  EXPECT_EQ(0, subject.Finish().status) << "undisturbed";
  return calls;
}

class OwnerSweep : public SweepTest {
 protected:
  /// On the file system of the destination, so that it can be linked and renamed there.
  std::string BaitPath(const OwnedOperation& operation) const {
    return operation.crosses ? Elsewhere() + "/bait" : In("bait");
  }
};

TEST_F(OwnerSweep, GetsNothing) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root works with another's rights at stake";
  for (const auto& operation : kOperations) {
    if (operation.crosses && Elsewhere().empty()) {
      std::cout << "SKIPPED " << operation.name << " to another file system: there is but one" << std::endl;
      continue;
    }
    Findings findings(std::string(operation.name) + (operation.crosses ? " to another file system" : ""));
    Stage stage(operation, Root(), Elsewhere());
    const int calls = CountCalls(stage);
    const int stride = IsFullSweep() ? 1 : 3;
    for (const Attack attack : {Attack::kExchangeNewest, Attack::kPlantNext})
      for (int trap = 0; trap < kTraps; ++trap)
        for (int call = 1; call <= calls; ++call)
          if (IsChosenCall(call) && (call + trap) % stride == 0)
            AttackAt(call, attack, static_cast<Trap>(trap), stage, BaitPath(operation), findings);
  }
}

}  // namespace
}  // namespace quill_sweep
