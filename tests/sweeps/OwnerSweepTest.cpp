// At each system call of an operation that root performs, the owner of its directories exchanges what was made last for
// something of hers, plants something under the name that is about to be made, has a lease taken on a file of her tree,
// or gives its items more attributes than can be listed or held. She must get nothing by it, and stop nothing.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <map>

#include "tests/support/Mount.h"
#include "tests/support/ScopedVariable.h"
#include "tests/sweeps/HostileOwner.h"
#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

namespace fs = std::filesystem;

enum class Attack { kExchangeNewest, kPlantNext, kLease, kBombAttributes };

constexpr OwnedOperation kOperations[] = {{"copy"},
                                          {"clobber"},
                                          {"copy", /*crosses=*/true},
                                          {"copy", /*crosses=*/true, /*returns=*/true},
                                          {"move", /*crosses=*/true},
                                          {"move", /*crosses=*/true, /*returns=*/true},
                                          {"move"},
                                          {"remove"},
                                          {"ensure"},
                                          {"temporaries"},
                                          {"trash"}};

void GiveBack(int, siginfo_t* broken, void*) { (void)::fcntl(broken->si_fd, F_SETLEASE, F_UNLCK); }

/// A lease on a file of her tree, until somebody wants to open that.
class Lease {
 public:
  Lease() {
    struct sigaction action {};
    action.sa_sigaction = GiveBack;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    EXPECT_EQ(0, ::sigaction(SIGIO, &action, &before_));
  }
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;
  ~Lease() {
    if (leased_ >= 0) ::close(leased_);
    (void)::sigaction(SIGIO, &before_, nullptr);
  }

  /// False while the file is open, or when it is gone.
  bool Take(const std::string& path) {
    leased_ = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (leased_ < 0) return false;
    // With a signal of its own choice the handler learns the descriptor (fcntl(2), F_SETSIG).
    return ::fcntl(leased_, F_SETSIG, SIGIO) == 0 && ::fcntl(leased_, F_SETLEASE, F_WRLCK) == 0;
  }

 private:
  struct sigaction before_ {};
  int leased_ = -1;
};

/// As many names as the file system takes, up to more than can be listed (64 KiB). False when the item is gone.
bool BombAttributes(const std::string& path) {
  for (int number = 100; number < 400; ++number) {
    const std::string name = "user." + std::string(240, 'n') + std::to_string(number);
    if (::lsetxattr(path.c_str(), name.c_str(), "", 0, 0) != 0) return errno != ENOENT;
  }
  return true;
}

class Attacker {
 public:
  Attacker(const Stage& stage, const Bait& bait) : stage_(stage), bait_(bait), seen_(stage.Names()) {}

  /// False when there is nothing to attack yet, or no longer.
  bool Do(Attack attack, Trap trap, const Tracee& subject) {
    switch (attack) {
      case Attack::kExchangeNewest:
        return ExchangeNewest(trap);
      case Attack::kPlantNext:
        return PlantNext(trap, subject);
      case Attack::kLease:
        return lease_.Take(stage_.source + "/directory/file");
      case Attack::kBombAttributes:
        return BombAttributes(stage_.source + "/directory") && BombAttributes(stage_.source + "/program");
    }
    return false;
  }

 private:
  bool ExchangeNewest(Trap trap) const {
    const std::string newest = Newest();
    const bool isBesideTheBait = !stage_.operation.crosses || newest.starts_with(stage_.to);
    if (newest.empty() || (IsRootsOwn(trap) && !isBesideTheBait)) return false;
    const std::string spare = fs::path(newest).parent_path() / "spare";
    MakeTrap(spare, trap, bait_);
    return Exchange(newest, spare);
  }

  std::string Newest() const {
    std::map<std::pair<time_t, long>, std::string> made;
    for (const auto& path : stage_.Names()) {
      struct stat status {};
      if (!seen_.contains(path) && ::lstat(path.c_str(), &status) == 0)
        made[{status.st_ctim.tv_sec, status.st_ctim.tv_nsec}] = path;
    }
    return made.empty() ? "" : made.rbegin()->second;
  }

  bool PlantNext(Trap trap, const Tracee& subject) const {
    // A link to a directory that stands in the way of a chain is a part of the path, as everywhere.
    if (trap == Trap::kLinkToDirectory && stage_.operation.Is("ensure")) return false;
    const fs::path name = fs::path(subject.Path()).filename();
    if (name.empty() || !MayCreate(subject)) return false;
    const fs::path place = fs::path(stage_.to) / name;
    if (fs::exists(fs::symlink_status(place))) return false;
    MakeTrap(place, trap, bait_);
    return true;
  }

  static bool MayCreate(const Tracee& subject) {
    for (const char* call : {"openat", "open", "mkdirat", "mkdir", "symlinkat", "mknodat", "linkat", "renameat2"})
      if (subject.Is(call)) return true;
    return false;
  }

  const Stage& stage_;
  const Bait& bait_;
  const std::set<std::string> seen_;
  Lease lease_;
};

Tracee Start(const Stage& stage) {
  const OwnedOperation& operation = stage.operation;
  std::vector<std::string> words{QUILL_TREE_DRIVER, "--stop", operation.verb};
  if (operation.Is("ensure")) words.push_back(stage.to + "/one/two/three");
  if (operation.Is("trash")) words.push_back(stage.to + "/roots");
  if (operation.Is("temporaries")) words.insert(words.end(), {stage.to, "1"});
  if (operation.HasSource()) words.push_back(stage.source);
  if (operation.HasSource() && !operation.Is("remove")) words.push_back(stage.to + "/result");
  return {words, Window::kBetweenStops};
}

/// A lease only makes others wait. Attributes that cannot be kept are left out; but a move leaves what changes after it
/// was copied.
bool MustSucceed(Attack attack, const OwnedOperation& operation) {
  return attack == Attack::kLease || (attack == Attack::kBombAttributes && !operation.Is("move"));
}

void AttackAt(int call, Attack attack, Trap trap, const Stage& stage, const std::string& baitPath, Findings& findings) {
  const Bait bait(baitPath);
  stage.Build();
  Attacker attacker(stage, bait);
  Tracee subject = Start(stage);
  if (!subject.RunTo(call)) return;
  const std::string where = "call " + std::to_string(call) + " " + subject.Describe() + ", attack " +
                            std::to_string(static_cast<int>(attack)) + " with trap " +
                            std::to_string(static_cast<int>(trap));
  if (!attacker.Do(attack, trap, subject)) return;
  const Outcome outcome = subject.Finish();
  findings.CountPoint();
  findings.Require(outcome.signal == 0, where, "ended by signal " + std::to_string(outcome.signal));
  findings.Require(outcome.status == 0 || !MustSucceed(attack, stage.operation), where, "failed, " + outcome.output);
  findings.Add(where, bait.WhatChanged(trap));
  findings.Add(where, stage.WhatSheGot(trap));
}

int CountCalls(const Stage& stage) {
  stage.Build();
  Tracee subject = Start(stage);
  int calls = 0;
  while (subject.Next()) ++calls;
  EXPECT_EQ(0, subject.Finish().status) << "undisturbed";
  return calls;
}

/// What is made of the bait itself must be on its file system, and the trash's volume is one of its own.
int TrapsFor(Attack attack, const OwnedOperation& operation) {
  if (attack == Attack::kLease || attack == Attack::kBombAttributes) return operation.HasSource() ? 1 : 0;
  return operation.Is("trash") ? static_cast<int>(Trap::kRootsFile) : kTraps;
}

class OwnerSweep : public SweepTest {
 protected:
  void Sweep(const OwnedOperation& operation) const {
    Findings findings(operation.Title());
    const Stage stage(operation, Root(), Elsewhere());
    // On the file system of the destination, so that it can be linked and renamed there.
    const std::string bait = (operation.crosses && !operation.returns ? Elsewhere() : Root()) + "/bait";
    const int calls = CountCalls(stage);
    const int stride = IsFullSweep() || calls < 60 ? 1 : kTraps;
    for (const Attack attack : {Attack::kExchangeNewest, Attack::kPlantNext, Attack::kLease, Attack::kBombAttributes})
      for (int trap = 0; trap < TrapsFor(attack, operation); ++trap)
        for (int call = 1; call <= calls; ++call)
          if (IsChosenCall(call) && (call + trap) % stride == 0)
            AttackAt(call, attack, static_cast<Trap>(trap), stage, bait, findings);
  }
};

TEST_F(OwnerSweep, GetsNothing) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root works with another's rights at stake";
  fs::create_directory(In("volume"));
  const quill_test::Mount volume("tmpfs", In("volume"), "size=1m");
  const quill_test::ScopedVariable data("XDG_DATA_HOME", In("data"));
  for (const auto& operation : kOperations) {
    const std::string lacks = operation.crosses && Elsewhere().empty() ? "there is but one file system"
                              : operation.Is("trash") && !volume       ? volume.WhyNot()
                                                                       : "";
    if (lacks.empty()) Sweep(operation);
    if (!lacks.empty()) std::cout << "SKIPPED " << operation.Title() << ": " << lacks << std::endl;
  }
}

}  // namespace
}  // namespace quill_sweep
