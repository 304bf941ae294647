// While trees are copied, moved and removed, another process exchanges directories for links to a bait and back, as
// fast as it can.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>

#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

using std::chrono::steady_clock;

// Never a directory and one inside it at once, or the storm itself would follow the link.
const std::vector<std::string> kVictims[] = {{""}, {"/nested", "/empty", "/locked"}, {"/nested/deep"}};

/// Exchanges the victims for links until it is destroyed.
class Storm {
 public:
  Storm(const Scene& scene, const std::vector<std::string>& victims) {
    for (const auto& victim : victims) {
      pairs.emplace_back(scene.source + victim, scene.source + ".link" + std::to_string(pairs.size()));
      std::filesystem::create_symlink(scene.bait + victim, pairs.back().second);
    }
    process = ::fork();
    if (process == 0) RunBeside();
    for (std::size_t i = 0; process == 0; ++i) {
      const auto& [victim, link] = pairs[i / 2 % pairs.size()];
      (void)Exchange(victim, link);
    }
  }
  ~Storm() {
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
  }

 private:
  std::vector<std::pair<std::string, std::string>> pairs;
  pid_t process;
};

void Rage(Scene& scene, Findings& findings) {
  scene.Build();
  const Snapshot bait = Describe(scene.bait);
  const auto end = steady_clock::now() + std::chrono::seconds(IsFullSweep() ? 10 : 2);
  int succeeded = 0;
  for (std::size_t round = 0; steady_clock::now() < end; ++round) {
    scene.Build();
    {
      const Storm storm(scene, kVictims[round % std::size(kVictims)]);
      succeeded += scene.Start().Finish().status == 0 ? 1 : 0;
    }
    findings.CountPoint();
    const std::string difference = Difference(bait, Describe(scene.bait), Scope::kIdentity);
    findings.Require(!HoldsBait(scene.destinationParent), "the bait", "was copied");
    if (!difference.empty()) return findings.Add("the bait", "changed:" + difference);
  }
  std::cout << succeeded << " of them succeeded" << std::endl;
}

class StormOfSwaps : public SweepTest {};

TEST_F(StormOfSwaps, LeavesTheBaitAlone) { ForEach({Verb::kCopy, Verb::kMove, Verb::kRemove}, Rage); }

}  // namespace
}  // namespace quill_sweep
