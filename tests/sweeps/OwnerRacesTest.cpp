// While root works in another user's directory, that user, with nothing but her own rights, exchanges each new name for
// something of hers as fast as she can.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iostream>
#include <new>

#include "standalone/StandaloneFileManager.h"
#include "tests/support/Mount.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/Trees.h"
#include "tests/sweeps/HostileOwner.h"
#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

namespace fs = std::filesystem;
using quill_test::Path;

constexpr int kSpares = 4;

/// On the same one, she is woken up in the middle of root's work; on another, she is as fast as can be.
enum class Processor { kSame, kAnother };

/// A process of hers that repeats \p attack until this is destroyed. It adds up what the attack answers: how often she
/// has exchanged something.
class Attacker {
 public:
  Attacker(Processor processor, const std::function<int()>& attack) : shared_(MapShared()), process_(::fork()) {
    if (process_ == 0) Rage(processor, attack);
    while (shared_->isReady == 0 && ::waitpid(process_, nullptr, WNOHANG) == 0) ::sched_yield();
  }
  Attacker(const Attacker&) = delete;
  Attacker& operator=(const Attacker&) = delete;
  ~Attacker() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    ::munmap(shared_, sizeof *shared_);
  }

  int Exchanges() const { return shared_->exchanges; }

 private:
  struct Shared {
    std::atomic<int> isReady = 0;
    std::atomic<int> exchanges = 0;
  };

  static Shared* MapShared() {
    void* const place = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (place == MAP_FAILED) std::abort();
    return new (place) Shared;
  }

  [[noreturn]] void Rage(Processor processor, const std::function<int()>& attack) const {
    if (processor == Processor::kAnother) RunBeside();
    if (::setgroups(0, nullptr) != 0 || ::setgid(kAttacker) != 0 || ::setuid(kAttacker) != 0) ::_exit(1);
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);  // else she would outlive a test that is ended
    shared_->isReady = 1;
    for (;;) shared_->exchanges += attack();
  }

  Shared* const shared_;
  const pid_t process_;
};

/// What she does about the names that are made in a directory of hers.
class NewNames {
 public:
  /// With \p flips she goes on to exchange the latest one to and fro; else she sleeps until the next is made.
  NewNames(const std::string& directory, bool flips)
      : directory_(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
        events_(::inotify_init1((flips ? IN_NONBLOCK : 0) | IN_CLOEXEC)),
        flips_(flips) {
    EXPECT_GE(::inotify_add_watch(events_, directory.c_str(), IN_CREATE), 0);
  }
  NewNames(const NewNames&) = delete;
  NewNames& operator=(const NewNames&) = delete;
  ~NewNames() {
    ::close(directory_);
    ::close(events_);
  }

  static std::string Spare(int number) { return "spare" + std::to_string(number); }

  /// Answers how many.
  int ExchangeThem() {
    alignas(inotify_event) char events[1024];
    const ssize_t size = ::read(events_, events, sizeof events);
    if (size <= 0) return flips_ && !latest_.empty() ? ExchangeLatest() : 0;
    int exchanges = 0;
    for (ssize_t at = 0; at < size;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(events + at);
      at += static_cast<ssize_t>(sizeof *event + event->len);
      spare_ = Spare(next_++ % kSpares);
      latest_ = event->name;
      exchanges += ExchangeLatest();
    }
    return exchanges;
  }

 private:
  int ExchangeLatest() const {
    return ::renameat2(directory_, latest_.c_str(), directory_, spare_.c_str(), RENAME_EXCHANGE) == 0 ? 1 : 0;
  }

  const int directory_;
  const int events_;
  const bool flips_;
  std::string latest_;
  std::string spare_;
  int next_ = 0;
};

using Work = std::function<void(quill::StandaloneFileManager&, const Stage&)>;

void MakeTemporaries(quill::StandaloneFileManager& manager, const Stage& stage) {
  QuillFileString made;
  for (int pair = 0; pair < 10; ++pair) {
    (void)manager.FileCreateTempInDir(Path(stage.to), made);
    (void)manager.DirCreateTempInDir(Path(stage.to), made);
  }
}

void Copy(quill::StandaloneFileManager& manager, const Stage& stage) {
  (void)manager.FileOrDirCopy(Path(stage.source), Path(stage.to + "/result"), /*clobber=*/false);
}

void Move(quill::StandaloneFileManager& manager, const Stage& stage) {
  (void)manager.FileOrDirMove(Path(stage.source), Path(stage.to + "/result"), /*clobber=*/false);
}

void Ensure(quill::StandaloneFileManager& manager, const Stage& stage) {
  (void)manager.DirEnsure(Path(stage.to + "/one/two/three"));
}

void MoveToTrash(quill::StandaloneFileManager& manager, const Stage& stage) {
  QuillFileString trashed;
  (void)manager.FileOrDirMoveToTrash(Path(stage.to + "/roots"), trashed);
}

class OwnerRaces : public SweepTest {
 protected:
  void SetUp() override {
    SweepTest::SetUp();
    if (::geteuid() != 0) GTEST_SKIP() << "only root works with another's rights at stake";
    rounds = IsFullSweep() ? 1000 : 50;
  }
  void TearDown() override {
    EXPECT_TRUE(interfered > 0 || IsSkipped()) << "a race in which nobody runs";
    std::cout << "she interfered in " << interfered << " of " << rounds << " rounds" << std::endl;
    SweepTest::TearDown();
  }

  void Run(const OwnedOperation& operation, const Work& work, int traps = kTraps) {
    if (operation.crosses && Elsewhere().empty()) GTEST_SKIP() << "there is but one file system";
    Findings findings(operation.Title());
    const Stage stage(operation, Root(), Elsewhere());
    for (int round = 0; round < rounds; ++round) {
      const auto trap = static_cast<Trap>(round % traps);
      const Bait bait((operation.crosses ? Elsewhere() : Root()) + "/bait");
      stage.Build();
      for (int spare = 0; spare < kSpares; ++spare) {
        const bool isTaken = spare > 0 && trap == Trap::kRootsDirectory;
        MakeTrap(stage.to + '/' + NewNames::Spare(spare), isTaken ? Trap::kHerDirectory : trap, bait);
      }
      const bool flips = round / traps % 2 == 1;
      NewNames names(stage.to, flips);
      Against(
          flips ? Processor::kAnother : Processor::kSame, [&names] { return names.ExchangeThem(); },
          [&] { work(manager, stage); });
      findings.CountPoint();
      const std::string where = "round " + std::to_string(round);
      findings.Add(where, bait.WhatChanged(trap));
      findings.Add(where, stage.WhatSheGot(trap));
    }
  }

  void Against(Processor processor, const std::function<int()>& attack, const std::function<void()>& work) {
    const Attacker attacker(processor, attack);
    const int before = attacker.Exchanges();
    work();
    if (attacker.Exchanges() > before) ++interfered;
  }

  quill::StandaloneFileManager manager;
  int rounds = 0;
  int interfered = 0;
};

TEST_F(OwnerRaces, Copy) { Run({"copy"}, Copy); }
TEST_F(OwnerRaces, CopyToAnotherFileSystem) { Run({"copy", /*crosses=*/true}, Copy); }
TEST_F(OwnerRaces, MoveToAnotherFileSystem) { Run({"move", /*crosses=*/true}, Move); }
TEST_F(OwnerRaces, Ensure) { Run({"ensure"}, Ensure); }

// Only under such a mask there are rights to add after an item is made.
TEST_F(OwnerRaces, Temporaries) {
  const ::mode_t before = ::umask(077);
  Run({"temporaries"}, MakeTemporaries);
  ::umask(before);
}

TEST_F(OwnerRaces, Trash) {
  fs::create_directory(In("volume"));
  const quill_test::Mount volume("tmpfs", In("volume"), "size=1m");
  if (!volume) GTEST_SKIP() << volume.WhyNot();
  const quill_test::ScopedVariable data("XDG_DATA_HOME", In("data"));
  // Root's own items cannot be had on the volume.
  Run({"trash"}, MoveToTrash, static_cast<int>(Trap::kRootsFile));
}

// The call follows links, so root's program may lose the right to be written to; but it must get no bits of her file.
TEST_F(OwnerRaces, SetReadOnly) {
  const std::string program = In("program"), hers = In("hers"), file = hers + "/file", link = hers + "/link";
  for (int round = 0; round < rounds; ++round) {
    quill_test::RemoveAll(hers);
    fs::create_directory(hers);
    GiveAway(hers);
    for (const auto& path : {program, file}) quill_test::WriteFile(path, "program");
    GiveAway(file);
    fs::create_symlink(program, link);
    ASSERT_TRUE(::chmod(program.c_str(), 0755) == 0 && ::chmod(file.c_str(), 04777) == 0);
    Against(
        Processor::kAnother, [&] { return Exchange(file, link) ? 1 : 0; },
        [&] {
          for (int call = 0; call < 20; ++call) (void)manager.FileSetReadOnly(Path(file), call % 2 == 0);
        });
    EXPECT_EQ(0555U, quill_test::ModeOf(program) & 07577) << "round " << round;
  }
}

}  // namespace
}  // namespace quill_sweep
