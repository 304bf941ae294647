// Kills an operation at each of its system calls.
#include <gtest/gtest.h>

#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

const std::vector<Operation> kOperations = {
    {Verb::kCopy, "copy", {"cp", "-aT"}},
    {Verb::kCopy, "clobber", {"cp", "-aT"}, /*clobbers=*/true},
    {Verb::kMove, "move", {"mv", "-T"}},
    {Verb::kMove, "move", {"mv", "-T"}, /*clobbers=*/false, /*crosses=*/true},
    {Verb::kMove, "move", {"mv", "-T"}, /*clobbers=*/false, /*crosses=*/true, /*returns=*/true},
};

void KillAt(Scene& scene, int last, Findings& findings) {
  scene.Build();
  Tracee subject = scene.Start();
  for (int call = 0; call < last; ++call)
    if (!subject.Next()) return;
  const std::string where = "call " + std::to_string(last) + " " + subject.Describe();
  subject.Kill();
  findings.CountPoint();
  findings.CountLeftovers(scene.Strays().size());
  if (const auto what = scene.WhatIsHalfMade(Scope::kMetadata); !what.empty()) findings.Add(where, what);
}

void Sweep(Scene& scene) {
  Findings findings("kill, " + TitleOf(scene.operation));
  const int calls = scene.CountCalls();
  const int stride = IsFullSweep() ? 1 : 2;
  for (int last = 1; last <= calls; last += stride)
    if (IsChosenCall(last)) KillAt(scene, last, findings);
}

class KillSweep : public SweepTest {};

TEST_F(KillSweep, SourceOrDestinationIsWhole) { ForEach(kOperations, Sweep); }

}  // namespace
}  // namespace quill_sweep
