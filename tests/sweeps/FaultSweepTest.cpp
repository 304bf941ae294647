// Fails each system call of an operation in turn, once and from then on.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "host/QuillErr.h"
#include "platform/osx/OSXFileSystemUtils.h"
#include "tests/support/Mount.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/Trees.h"
#include "tests/sweeps/SweepTest.h"

namespace quill_sweep {
namespace {

namespace fs = std::filesystem;

struct Fault {
  int call;
  int error;
  bool lasts = false;  // every later call fails too
};

/// The call that the fault hit, and the outcome.
struct Result {
  std::string where;
  bool losesWrites = false;
  bool onlyTakesMemory = false;
  Outcome outcome;
  int code = 0, leaked = 0, unkept = 0, threw = 0;
};

constexpr int kErrors[] = {EIO, ENOSPC, EACCES, EMFILE, ENOMEM};

/// Runs the operation with the fault; false when it ended before that call.
bool Run(Tracee subject, const Fault& fault, Result& result) {
  if (!subject.RunTo(fault.call)) return false;
  result.where = "call " + std::to_string(fault.call) + " " + subject.Describe() + " " + strerrorname_np(fault.error) +
                 (fault.lasts ? " from then on" : " once");
  result.losesWrites = subject.EndsWriting() && fault.error != EINTR;
  result.onlyTakesMemory = subject.OnlyTakesMemory();
  do {
    if (!subject.OnlyTakesMemory() || fault.error == ENOMEM) subject.Fail(fault.error);
  } while (fault.lasts && subject.Next());
  result.outcome = subject.Finish();
  (void)std::sscanf(result.outcome.output.c_str(), "code %d leaked %d unkept %d threw %d", &result.code, &result.leaked,
                    &result.unkept, &result.threw);
  return true;
}

bool IsTrueCode(int code, int error, Verb verb) {
  if (code == OSXFileSystemUtils::_PosixErrToQuillErr(error) || code == kQuillErrNotFound) return true;
  // If the failed call was to show that an item exists, creating it meets that item.
  if (verb == Verb::kEnsure) return code == kQuillErrAlreadyExists || code == kQuillErrNone;
  return code == kQuillErrCannotClearDestination;
}

void JudgeFailure(const Scene& scene, const Fault& fault, const Result& result, Findings& findings) {
  const auto& [verb, name, command, clobbers, crosses, returns] = scene.operation;
  const std::string code = std::to_string(result.code);
  findings.Require(fault.error != EINTR, result.where, "one interruption ended it, code " + code);
  findings.Require(IsTrueCode(result.code, fault.error, verb), result.where, "false with the code " + code);
  const bool mayArrive = verb == Verb::kEnsure || (verb == Verb::kMove && crosses) || clobbers;
  findings.Require(mayArrive || !scene.Arrived(), result.where, "false, and yet something stands at the destination");
}

void Judge(const Scene& scene, const Fault& fault, const Result& result, Findings& findings) {
  const auto& [status, signal, output] = result.outcome;
  findings.Require(signal == 0, result.where, "ended by signal " + std::to_string(signal));
  findings.Require(result.leaked == 0, result.where, "left descriptors open");
  const bool mayThrow = result.onlyTakesMemory || fault.error == ENOMEM;
  findings.Require(result.threw == 0 || mayThrow, result.where, "threw");
  const bool isUnsupported = fault.error == EACCES || fault.error == EPERM || fault.error == ENOTSUP;
  const Scope scope = result.unkept != 0 && isUnsupported ? Scope::kSubstance : Scope::kMetadata;
  findings.Add(result.where, scene.WhatIsHalfMade(scope));
  const auto strays = scene.Strays();
  findings.Require(fault.lasts || strays.empty(), result.where, "left behind " + (strays.empty() ? "" : strays[0]));
  if (status == 1 && !output.empty() && result.threw == 0) return JudgeFailure(scene, fault, result, findings);
  if (status != 0) return;
  const std::string untrue = scene.WhatIsUntrue(scope);
  findings.Require(untrue.empty(), result.where, "true, but " + untrue);
  findings.Require(!result.losesWrites, result.where, "true, though a write may be lost");
}

void SweepOne(Scene& scene, const Fault& fault, Findings& findings) {
  if (!IsChosenCall(fault.call)) return;
  Result result;
  scene.Build();
  if (!Run(scene.Start(), fault, result)) return;
  findings.CountPoint();
  Judge(scene, fault, result, findings);
}

void Sweep(Scene& scene, Findings& findings) {
  std::vector<Fault> special;
  int seen = 0;
  const int calls = scene.CountCalls([&](const Tracee& subject) {
    ++seen;
    // Any of them may wait for a network or for FUSE, where a signal interrupts it.
    if (!subject.OnlyTakesMemory()) special.push_back({seen, EINTR});
    if (subject.Is("renameat2"))
      special.push_back({seen, EINVAL});  // as on a file system that cannot rename without replacing
  });
  for (const auto& fault : special) SweepOne(scene, fault, findings);
  constexpr int kKinds = std::size(kErrors);
  for (int call = 1; call <= calls; ++call) {
    for (int kind = 0; kind < kKinds; ++kind) {
      if (IsFullSweep() || (call + kind) % kKinds == 0) SweepOne(scene, {call, kErrors[kind]}, findings);
      if (IsFullSweep() || (call + kind) % (4 * kKinds) == 0)
        SweepOne(scene, {call, kErrors[kind], /*lasts=*/true}, findings);
    }
  }
}

/// A file on a volume that has no trash yet, and a home trash on another one.
class TrashScene {
 public:
  TrashScene(std::string volumeRoot, std::string dataDirectory)
      : volume_(std::move(volumeRoot)), data_(std::move(dataDirectory)), item_(volume_ + "/item") {}

  void Build() const {
    quill_test::RemoveAll(data_);
    for (const auto& entry : fs::directory_iterator(volume_)) quill_test::RemoveAll(entry.path());
    quill_test::WriteFile(item_, "bytes");
  }

  Tracee Start() const { return {{QUILL_TREE_DRIVER, "--stop", "trash", item_}, Window::kBetweenStops}; }

  /// "" when the item is in a trash with its record, or, after a failure, where it was and without one.
  std::string WhatIsWrong(bool succeeded) const {
    std::vector<fs::path> items, records;
    for (const auto& root : {volume_, data_}) {
      if (!fs::exists(root)) continue;
      for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        (entry.path().extension() == ".trashinfo" ? records : items).push_back(entry.path());
      }
    }
    if (items.size() != 1 || quill_test::Contents(items[0]) != "bytes") return "the item was lost, or is there twice";
    if (!succeeded) return items[0] != item_ ? "false, but the item is gone" : records.empty() ? "" : "a stray record";
    const fs::path record = items[0].parent_path().parent_path() / "info/item.trashinfo";
    return records == std::vector{record} ? "" : "true, but without its one record";
  }

 private:
  const std::string volume_;
  const std::string data_;
  const std::string item_;
};

void JudgeTrash(const TrashScene& scene, const Fault& fault, Findings& findings) {
  Result result;
  scene.Build();
  if (!IsChosenCall(fault.call) || !Run(scene.Start(), fault, result)) return;
  findings.CountPoint();
  const bool succeeded = result.outcome.status == 0;
  findings.Require(result.outcome.signal == 0, result.where, "ended by signal");
  findings.Require(result.leaked == 0, result.where, "left descriptors open");
  findings.Require(succeeded || fault.error != EINTR, result.where, "one interruption ended it");
  const std::string wrong = scene.WhatIsWrong(succeeded);
  findings.Require(wrong.empty() || (fault.lasts && wrong == "a stray record"), result.where, wrong);
}

class FaultSweep : public SweepTest {};

TEST_F(FaultSweep, EveryFailureIsTold) { ForEach({Verb::kCopy, Verb::kMove, Verb::kRemove, Verb::kEnsure}, Sweep); }

TEST_F(FaultSweep, TrashLosesNothing) {
  fs::create_directory(In("volume"));
  const quill_test::Mount volume("tmpfs", In("volume"), "size=1m");
  if (!volume) GTEST_SKIP() << volume.WhyNot();
  const quill_test::ScopedVariable data("XDG_DATA_HOME", In("data"));
  const TrashScene scene(In("volume"), In("data"));
  Findings findings("trash");
  scene.Build();
  Tracee subject = scene.Start();
  int calls = 0;
  while (subject.Next()) ++calls;
  EXPECT_EQ(0, subject.Finish().status) << "undisturbed";
  for (int call = 1; call <= calls; ++call) {
    for (const int error : {EINTR, EIO, ENOSPC, EACCES, EMFILE, ENOMEM}) {
      JudgeTrash(scene, {call, error}, findings);
      if (error != EINTR) JudgeTrash(scene, {call, error, /*lasts=*/true}, findings);
    }
  }
}

}  // namespace
}  // namespace quill_sweep
