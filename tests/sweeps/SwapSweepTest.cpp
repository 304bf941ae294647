// Exchanges an item behind an operation's back, at each of its system calls: for a link to a bait that nobody may
// touch, or for another item that must not be lost. Some calls later it may come back.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

namespace fs = std::filesystem;

const std::vector<Operation> kOperations = {
    {Verb::kCopy, "copy", {"cp", "-aT"}},
    {Verb::kCopy, "clobber", {"cp", "-aT"}, /*clobbers=*/true},
    {Verb::kMove, "move", {"mv", "-T"}},
    {Verb::kMove, "move", {"mv", "-T"}, /*clobbers=*/false, /*crosses=*/true},
    {Verb::kMove, "move", {"mv", "-T"}, /*clobbers=*/false, /*crosses=*/true, /*returns=*/true},
    {Verb::kRemove, "remove", {"rm", "-rf"}},
};

enum class Spare { kLinkToBait, kOtherItem };
constexpr const char* kVictims[] = {"", "nested", "nested/deep/leaf", "plain"};
constexpr int kDestinationParent = std::size(kVictims);

/// An item of the scene and what takes its place.
class Swap {
 public:
  Swap(const Scene& subjectScene, int victimNumber, Spare spareKind)
      : scene(subjectScene), number(victimNumber), kind(spareKind) {
    inTree = number == kDestinationParent ? "" : kVictims[number];
    victim = number == kDestinationParent ? scene.destinationParent
             : inTree.empty()             ? scene.source
                                          : scene.source + "/" + inTree;
    spare =
        fs::path(number == kDestinationParent ? scene.destinationParent : fs::path(scene.source).parent_path().string())
            .parent_path() /
        "spare";
    MakeSpare();
    swappedIn = Describe(spare);
  }
  ~Swap() { RemoveAll(spare); }

  bool Exchange() {
    if (::renameat2(AT_FDCWD, victim.c_str(), AT_FDCWD, spare.c_str(), RENAME_EXCHANGE) != 0) return false;
    isExchanged = !isExchanged;
    return true;
  }

  bool IsOfDestination() const { return number == kDestinationParent; }
  std::string Name() const {
    const std::string which = IsOfDestination() ? "the destination's parent" : "/" + inTree;
    return which + (kind == Spare::kLinkToBait ? " and a link to the bait" : " and another item");
  }

  /// Where the operation may have put its result: into what was, or into what came in its place.
  std::vector<std::string> Results() const {
    if (!IsOfDestination()) return {scene.destination};
    return {victim + "/result", spare + "/result"};
  }
  /// The source as it stood before and after the exchange.
  std::vector<Snapshot> Sources() const {
    if (IsOfDestination()) return {scene.original};
    Snapshot after;
    const auto isInside = [&](const std::string& path) {
      return inTree.empty() || path == inTree || path.starts_with(inTree + "/");
    };
    for (const auto& [path, item] : scene.original)
      if (!isInside(path)) after[path] = item;
    for (const auto& [path, item] : swappedIn)
      after[inTree + (inTree.empty() || path.empty() ? "" : "/") + path] = item;
    return {scene.original, after};
  }
  const std::string& SparePath() const { return spare; }
  const Snapshot& SwappedIn() const { return swappedIn; }

 private:
  void MakeSpare() const {
    RemoveAll(spare);
    const bool isFile = !IsOfDestination() && !fs::is_directory(victim);
    if (kind == Spare::kLinkToBait) return fs::create_symlink(scene.bait + (inTree.empty() ? "" : "/" + inTree), spare);
    if (!isFile) fs::create_directory(spare);
    std::ofstream(isFile ? spare : spare + "/other") << "OTHER";
  }

  const Scene& scene;
  int number;
  Spare kind;
  std::string inTree;
  std::string victim;
  std::string spare;
  Snapshot swappedIn;
  bool isExchanged = false;
};

std::set<std::string> Substances(const std::vector<std::string>& roots) {
  std::set<std::string> substances;
  for (const auto& root : roots)
    for (const auto& [path, item] : Describe(root)) substances.insert(item.substance);
  return substances;
}

// What stands in the bait beyond the bait, when the destination's name led there from the start.
Snapshot WithoutResult(Snapshot snapshot) {
  std::erase_if(snapshot, [](const auto& entry) { return entry.first.empty() || entry.first.starts_with("result"); });
  return snapshot;
}

class Judge {
 public:
  Judge(const Scene& subjectScene, const Swap& subjectSwap, const Snapshot& baitThen)
      : scene(subjectScene), swap(subjectSwap), bait(baitThen) {}

  std::string BaitIsTouched() const {
    const Snapshot now = Describe(scene.bait);
    std::string difference = Difference(bait, now, Scope::kIdentity);
    if (swap.IsOfDestination() && now.contains("result"))
      difference = Difference(WithoutResult(bait), WithoutResult(now), Scope::kIdentity);
    return difference.empty() ? "" : "the bait changed:" + difference;
  }

  std::string BaitIsCopied() const {
    for (const auto& place : {scene.source, scene.destinationParent + "/.", swap.SparePath()})
      for (const auto& [path, item] : Describe(place))
        if (item.substance == "file \"BAIT\"" && !swap.IsOfDestination())
          return "copied the bait to " + place + "/" + path;
    return "";
  }

  std::string ResultIsUnreal(bool success) const {
    if (scene.operation.verb == Verb::kRemove) return "";
    std::string seen;
    int whole = 0;
    for (const auto& result : swap.Results()) {
      const Snapshot there = Describe(result);
      if (there.empty() || (scene.operation.clobbers && IsPartOf(there, scene.occupant))) continue;
      seen += Difference(scene.original, there, Scope::kSubstance);
      for (const auto& source : swap.Sources()) whole += Difference(source, there, Scope::kSubstance).empty() ? 1 : 0;
    }
    if (success && whole == 0) return "true, but the result is neither the old nor the new state:" + seen;
    if (whole == 0 && !seen.empty()) return "half-made:" + seen;
    return "";
  }

  std::string SomethingIsLost() const {
    if (scene.operation.verb == Verb::kRemove) return "";
    auto places = swap.Results();
    places.insert(places.end(), {scene.source, swap.SparePath(), scene.destinationParent});
    const auto left = Substances(places);
    for (const auto& tree : {scene.original, swap.SwappedIn()})
      for (const auto& [path, item] : tree)
        if (!left.contains(item.substance)) return "lost /" + path + " (" + item.substance + ")";
    return "";
  }

 private:
  const Scene& scene;
  const Swap& swap;
  const Snapshot& bait;
};

constexpr int kNever = 0;

struct Moment {
  int call;
  int backAfter;
};

void SwapAt(Scene& scene, int victim, Spare spare, Moment moment, Findings& findings) {
  scene.Build();
  const Snapshot bait = Describe(scene.bait);
  Swap swap(scene, victim, spare);
  Tracee subject = scene.Start();
  for (int call = 0; call < moment.call; ++call)
    if (!subject.Next()) return;
  const std::string where = "call " + std::to_string(moment.call) + " " + subject.Describe() + " exchanging " +
                            swap.Name() +
                            (moment.backAfter == kNever ? "" : ", back " + std::to_string(moment.backAfter) + " later");
  if (!swap.Exchange()) return;  // it is not at its place any more
  for (int later = 0; later < moment.backAfter; ++later) (void)subject.Next();
  if (moment.backAfter != kNever) (void)swap.Exchange();
  const Outcome outcome = subject.Finish();

  findings.CountPoint();
  const Judge judge(scene, swap, bait);
  if (outcome.signal != 0) findings.Add(where, "ended by signal " + std::to_string(outcome.signal));
  const auto touched = judge.BaitIsTouched();
  for (const auto& what :
       {touched, judge.BaitIsCopied(), judge.ResultIsUnreal(outcome.status == 0), judge.SomethingIsLost()})
    if (!what.empty()) findings.Add(where, what);
  if (!touched.empty() || swap.IsOfDestination()) RemoveAll(scene.bait);
}

bool IsChosen(int call, int victim, int backAfter) {
  return IsChosenCall(call) && (IsFullSweep() || (call + 7 * victim + backAfter) % 37 == 0);
}

void SweepVictim(Scene& scene, int victim, int calls, Findings& findings) {
  for (const auto spare : {Spare::kLinkToBait, Spare::kOtherItem}) {
    if (spare == Spare::kOtherItem && scene.operation.verb == Verb::kRemove) continue;  // whatever is there may go
    for (const int backAfter : {kNever, 1, 2, 3, 5, 8, 13, 21, 34})
      for (int call = 1; call <= calls; ++call)
        if (IsChosen(call, victim, backAfter)) SwapAt(scene, victim, spare, {call, backAfter}, findings);
  }
}

void Sweep(Scene& scene) {
  Findings findings("swaps, " + TitleOf(scene.operation));
  const int calls = scene.CountCalls();
  const int victims = scene.operation.verb == Verb::kRemove ? kDestinationParent : kDestinationParent + 1;
  for (int victim = 0; victim < victims; ++victim) SweepVictim(scene, victim, calls, findings);
}

class SwapSweep : public SweepTest {};

TEST_F(SwapSweep, NothingIsFollowedOrLost) { ForEach(kOperations, Sweep); }

}  // namespace
}  // namespace quill_sweep
