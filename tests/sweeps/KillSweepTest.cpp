// Kills an operation at each of its system calls.
#include <gtest/gtest.h>

#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

void KillAt(Scene& scene, int last, Findings& findings) {
  scene.Build();
  Tracee subject = scene.Start();
  if (!subject.RunTo(last)) return;
  const std::string where = "call " + std::to_string(last) + " " + subject.Describe();
  subject.Kill();
  findings.CountPoint();
  findings.Add(where, scene.WhatIsHalfMade(Scope::kMetadata));
}

void Sweep(Scene& scene, Findings& findings) {
  const int calls = scene.CountCalls();
  const int stride = IsFullSweep() ? 1 : 2;
  for (int last = 1; last <= calls; last += stride)
    if (IsChosenCall(last)) KillAt(scene, last, findings);
}

class KillSweep : public SweepTest {};

TEST_F(KillSweep, SourceOrDestinationIsWhole) { ForEach({Verb::kCopy, Verb::kMove}, Sweep); }

}  // namespace
}  // namespace quill_sweep
