// Fails each system call of an operation in turn, once and from then on.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/QuillErr.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

using OSXFileSystemUtils::_PosixErrToQuillErr;

enum class Lasting { kOnce, kFromThenOn };

struct Fault {
  int call;
  int error;
  Lasting lasting;
  std::string description;
  bool losesWrites = false;
  bool onlyTakesMemory = false;
};

struct Report {
  int code = 0;
  int leaked = 0;
  int unkept = 0;
  int threw = 0;
};

const std::vector<Operation> kOperations = {
    {Verb::kCopy, "copy", {"cp", "-aT"}},
    {Verb::kCopy, "clobber", {"cp", "-aT"}, /*clobbers=*/true},
    {Verb::kCopy, "copy", {"cp", "-aT"}, /*clobbers=*/false, /*crosses=*/true},
    {Verb::kMove, "move", {"mv", "-T"}},
    {Verb::kMove, "replace", {"mv", "-T"}, /*clobbers=*/true},
    {Verb::kMove, "move", {"mv", "-T"}, /*clobbers=*/false, /*crosses=*/true},
    {Verb::kMove, "move", {"mv", "-T"}, /*clobbers=*/false, /*crosses=*/true, /*returns=*/true},
    {Verb::kRemove, "remove", {"rm", "-rf"}},
    {Verb::kEnsure, "ensure", {"mkdir", "-p"}},
};
constexpr int kErrors[] = {EIO, ENOSPC, EACCES, EMFILE, ENOMEM};

std::string NameOf(const Fault& fault) {
  return "call " + std::to_string(fault.call) + " " + fault.description + " " + strerrorname_np(fault.error) +
         (fault.lasting == Lasting::kOnce ? " once" : " from then on");
}

bool IsNotSupportedOrPermitted(int error) { return error == EACCES || error == EPERM || error == ENOTSUP; }

bool IsTrueCode(int code, const Fault& fault, const Operation& operation) {
  if (code == _PosixErrToQuillErr(fault.error) || code == kQuillErrNotFound) return true;
  // An item that the failed question did not show is met by the creation.
  if (operation.verb == Verb::kEnsure) return code == kQuillErrAlreadyExists || code == kQuillErrNone;
  return code == kQuillErrCannotClearDestination;
}

/// Runs the operation with the fault; false when it ended before that call.
bool Run(const Scene& scene, Fault& fault, Outcome& outcome) {
  Tracee subject = scene.Start();
  for (int call = 0; call < fault.call; ++call)
    if (!subject.Next()) return false;
  fault.description = subject.Describe();
  fault.losesWrites = subject.EndsWriting() && fault.error != EINTR;
  fault.onlyTakesMemory = subject.OnlyTakesMemory();
  do {
    if (!subject.OnlyTakesMemory() || fault.error == ENOMEM) subject.Fail(fault.error);
  } while (fault.lasting == Lasting::kFromThenOn && subject.Next());
  outcome = subject.Finish();
  return true;
}

void JudgeStrays(const Scene& scene, const Fault& fault, Findings& findings) {
  const auto strays = scene.Strays();
  if (fault.lasting == Lasting::kFromThenOn) return findings.CountLeftovers(strays.size());
  for (const auto& stray : strays) findings.Add(NameOf(fault), "left behind " + stray);
}

void JudgeFailure(const Scene& scene, const Fault& fault, const Report& report, Findings& findings) {
  const bool crosses = scene.operation.crosses;
  if (fault.error == EINTR)
    findings.Add(NameOf(fault), "one interruption ended it, code " + std::to_string(report.code));
  if (!IsTrueCode(report.code, fault, scene.operation))
    findings.Add(NameOf(fault), "false with the code " + std::to_string(report.code));
  const bool mayArrive = scene.operation.verb == Verb::kEnsure || (scene.operation.verb == Verb::kMove && crosses);
  if (!mayArrive && !scene.operation.clobbers && scene.Arrived())
    findings.Add(NameOf(fault), "false, and yet something stands at the destination");
}

void Judge(const Scene& scene, const Fault& fault, const Outcome& outcome, Findings& findings) {
  findings.CountPoint();
  Report report;
  const bool reported = std::sscanf(outcome.output.c_str(), "code %d leaked %d unkept %d threw %d", &report.code,
                                    &report.leaked, &report.unkept, &report.threw) == 4;
  if (outcome.signal != 0) findings.Add(NameOf(fault), std::string("ended by ") + strsignal(outcome.signal));
  if (report.leaked != 0) findings.Add(NameOf(fault), "left descriptors open");
  if (report.threw != 0 && !fault.onlyTakesMemory && fault.error != ENOMEM) findings.Add(NameOf(fault), "threw");
  const bool unkept = report.unkept != 0 && IsNotSupportedOrPermitted(fault.error);
  const Scope scope = unkept ? Scope::kSubstance : Scope::kMetadata;
  if (const auto what = scene.WhatIsHalfMade(scope); !what.empty()) findings.Add(NameOf(fault), what);
  JudgeStrays(scene, fault, findings);
  if (outcome.status == 1 && reported && report.threw == 0) return JudgeFailure(scene, fault, report, findings);
  if (outcome.status != 0) return;
  if (const auto what = scene.WhatIsUntrue(scope); !what.empty()) findings.Add(NameOf(fault), "true, but " + what);
  if (fault.losesWrites) findings.Add(NameOf(fault), "true, though a write may be lost");
}

void SweepOne(Scene& scene, const Fault& planned, Findings& findings) {
  if (!IsChosenCall(planned.call)) return;
  Fault fault = planned;
  Outcome outcome;
  scene.Build();
  if (Run(scene, fault, outcome)) Judge(scene, fault, outcome, findings);
}

void Sweep(Scene& scene) {
  Findings findings("faults, " + TitleOf(scene.operation));
  std::vector<Fault> special;
  int seen = 0;
  const int calls = scene.CountCalls([&](const Tracee& subject) {
    ++seen;
    if (subject.MayBeRepeated()) special.push_back({seen, EINTR, Lasting::kOnce, ""});
    // A file system that lacks this way of renaming.
    if (subject.Is("renameat2")) special.push_back({seen, EINVAL, Lasting::kOnce, ""});
  });
  for (const auto& fault : special) SweepOne(scene, fault, findings);
  constexpr int kKinds = std::size(kErrors);
  for (int call = 1; call <= calls; ++call) {
    for (int kind = 0; kind < kKinds; ++kind) {
      if (IsFullSweep() || (call + kind) % kKinds == 0)
        SweepOne(scene, {call, kErrors[kind], Lasting::kOnce, ""}, findings);
      if (IsFullSweep() || (call + kind) % (4 * kKinds) == 0)
        SweepOne(scene, {call, kErrors[kind], Lasting::kFromThenOn, ""}, findings);
    }
  }
}

class FaultSweep : public SweepTest {};

TEST_F(FaultSweep, EveryFailureIsTold) { ForEach(kOperations, Sweep); }

}  // namespace
}  // namespace quill_sweep
