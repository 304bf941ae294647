// Exchanges an item behind an operation's back, at each of its system calls, for a link to a bait that must not be
// touched or for another item that must not be lost. Some calls later the item may come back.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "tests/support/Trees.h"
#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

namespace fs = std::filesystem;

enum class Spare { kLinkToBait, kOtherItem };
constexpr const char* kVictims[] = {"/", "/nested", "/nested/deep/leaf", "/plain"};
constexpr int kDestinationParent = std::size(kVictims);
constexpr int kNever = 0;

struct Moment {
  int call;
  int backAfter;
};

/// An item of the scene and what takes its place.
class Swap {
 public:
  Swap(const Scene& subject, int victimNumber, Spare spareKind)
      : scene(subject), isOfDestination(victimNumber == kDestinationParent), kind(spareKind) {
    inTree = isOfDestination ? "" : std::string(kVictims[victimNumber]).substr(1);
    victim = isOfDestination ? scene.destinationParent : scene.source + (inTree.empty() ? "" : "/" + inTree);
    const fs::path top = isOfDestination ? scene.destination : scene.source;
    spare = top.parent_path().parent_path() / "spare";
    MakeSpare();
    swappedIn = Describe(spare);
  }
  ~Swap() { quill_test::RemoveAll(spare); }

  bool Exchange() const { return quill_sweep::Exchange(victim, spare); }

  std::string Name() const {
    return (isOfDestination ? "the destination's parent" : "/" + inTree) +
           (kind == Spare::kLinkToBait ? " and a link to the bait" : " and another item");
  }
  /// Where the operation may have put its result: in the original directory or in its replacement.
  std::vector<std::string> Results() const {
    if (!isOfDestination) return {scene.destination};
    return {victim + "/result", spare + "/result"};
  }
  /// The source before and after the exchange.
  std::vector<Snapshot> Sources() const {
    if (isOfDestination) return {scene.original};
    Snapshot after = scene.original;
    std::erase_if(after, [this](const auto& entry) {
      return inTree.empty() || entry.first == inTree || entry.first.starts_with(inTree + "/");
    });
    for (const auto& [path, item] : swappedIn)
      after[inTree + (inTree.empty() || path.empty() ? "" : "/") + path] = item;
    return {scene.original, after};
  }

  const Scene& scene;
  const bool isOfDestination;
  std::string spare;
  Snapshot swappedIn;

 private:
  void MakeSpare() const {
    quill_test::RemoveAll(spare);
    if (kind == Spare::kLinkToBait) return fs::create_symlink(scene.bait + (inTree.empty() ? "" : "/" + inTree), spare);
    const bool isDirectory = isOfDestination || fs::is_directory(victim);
    if (isDirectory) fs::create_directory(spare);
    std::ofstream(isDirectory ? spare + "/other" : spare) << "OTHER";
  }

  const Spare kind;
  std::string inTree;
  std::string victim;
};

// If the destination's name led to the bait from the start, the result may be there.
std::string WhatOfTheBaitChanged(const Swap& swap, Snapshot before) {
  Snapshot now = Describe(swap.scene.bait);
  if (swap.isOfDestination && now.contains("result")) {
    const auto isResult = [](const auto& entry) { return entry.first.empty() || entry.first.starts_with("result"); };
    std::erase_if(before, isResult);
    std::erase_if(now, isResult);
  }
  const std::string difference = Difference(before, now, Scope::kIdentity);
  return difference.empty() ? "" : "the bait changed:" + difference;
}

std::string WhatOfTheBaitWasCopied(const Swap& swap) {
  if (swap.isOfDestination) return "";
  for (const auto& place : {swap.scene.source, swap.scene.destinationParent, swap.spare})
    if (HoldsBait(place)) return "copied the bait to " + place;
  return "";
}

std::string WhatIsUnreal(const Swap& swap, bool success) {
  std::string seen;
  bool isReal = false;
  for (const auto& result : swap.Results()) {
    const Snapshot there = Describe(result);
    if (there.empty() || (swap.scene.operation.clobbers && IsPartOf(there, swap.scene.occupant))) continue;
    seen += Difference(swap.scene.original, there, Scope::kSubstance);
    for (const auto& source : swap.Sources()) isReal |= Difference(source, there, Scope::kSubstance).empty();
  }
  if (isReal) return "";
  if (success) return "true, but the result is neither the old nor the new state:" + seen;
  return seen.empty() ? "" : "half-made:" + seen;
}

std::string WhatIsLost(const Swap& swap) {
  auto places = swap.Results();
  places.insert(places.end(), {swap.scene.source, swap.spare, swap.scene.destinationParent});
  std::set<std::string> left;
  for (const auto& place : places)
    for (const auto& [path, item] : Describe(place)) left.insert(item.substance);
  for (const auto& tree : {swap.scene.original, swap.swappedIn})
    for (const auto& [path, item] : tree)
      if (!left.contains(item.substance)) return "lost /" + path + " (" + item.substance + ")";
  return "";
}

void SwapAt(Scene& scene, const Moment& moment, int victim, Spare spare, Findings& findings) {
  scene.Build();
  const Snapshot bait = Describe(scene.bait);
  const Swap swap(scene, victim, spare);
  Tracee subject = scene.Start();
  if (!subject.RunTo(moment.call)) return;
  std::string where = "call " + std::to_string(moment.call) + " " + subject.Describe() + " exchanging " + swap.Name();
  if (!swap.Exchange()) return;  // the item is no longer in its place
  if (moment.backAfter != kNever) {
    where += ", back " + std::to_string(moment.backAfter) + " later";
    (void)subject.RunTo(moment.call + moment.backAfter);
    (void)swap.Exchange();
  }
  const Outcome outcome = subject.Finish();

  findings.CountPoint();
  findings.Require(outcome.signal == 0, where, "ended by signal " + std::to_string(outcome.signal));
  const std::string changed = WhatOfTheBaitChanged(swap, bait);
  findings.Add(where, changed);
  findings.Add(where, WhatOfTheBaitWasCopied(swap));
  if (scene.operation.verb != Verb::kRemove) {
    findings.Add(where, WhatIsUnreal(swap, outcome.status == 0));
    findings.Add(where, WhatIsLost(swap));
  }
  if (!changed.empty() || swap.isOfDestination) quill_test::RemoveAll(scene.bait);
}

void SweepVictim(Scene& scene, int victim, int calls, Findings& findings) {
  const int stride = IsFullSweep() ? 1 : calls < 50 ? 7 : 53;
  for (const auto spare : {Spare::kLinkToBait, Spare::kOtherItem}) {
    if (spare == Spare::kOtherItem && scene.operation.verb == Verb::kRemove)
      continue;  // a removal may remove whatever is there
    for (const int backAfter : {kNever, 1, 2, 3, 5, 8, 13, 21, 34})
      for (int call = 1; call <= calls; ++call)
        if (IsChosenCall(call) && (call + 8 * victim + backAfter) % stride == 0)
          SwapAt(scene, {call, backAfter}, victim, spare, findings);
  }
}

void Sweep(Scene& scene, Findings& findings) {
  const int calls = scene.CountCalls();
  const int victims = scene.operation.verb == Verb::kRemove ? kDestinationParent : kDestinationParent + 1;
  for (int victim = 0; victim < victims; ++victim) SweepVictim(scene, victim, calls, findings);
}

class SwapSweep : public SweepTest {};

TEST_F(SwapSweep, NothingIsFollowedOrLost) { ForEach({Verb::kCopy, Verb::kMove, Verb::kRemove}, Sweep); }

}  // namespace
}  // namespace quill_sweep
