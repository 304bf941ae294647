// The stage of the sweeps: a small tree with one of everything, a place to bring it to, a bait that nobody may touch,
// and the judgement of what stands there afterwards.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/Snapshot.h"
#include "tests/sweeps/Tracee.h"

namespace quill_sweep {

using quill_test::Describe;
using quill_test::Difference;
using quill_test::IsPartOf;
using quill_test::Scope;
using quill_test::Snapshot;

enum class Verb { kCopy, kMove, kRemove, kEnsure };

struct Operation {
  Verb verb;
  /// The driver's name of it, and the command of the system that does much the same, for comparison.
  const char* name;
  std::vector<std::string> command;
  bool clobbers = false;
  bool crosses = false;
  /// The other way round: from the second file system to the first.
  bool returns = false;

  std::string Title() const;
};

const std::vector<Operation>& Operations();

class Scene {
 public:
  /// \p here is a directory of the test's own, \p elsewhere another one on another file system ("" when there is none).
  Scene(const Operation& operation, const std::string& here, const std::string& elsewhere);
  ~Scene();

  /// Makes everything afresh, the bait as well when it is missing.
  void Build();

  /// Starts the operation by the driver, or the system's command when QUILL_SWEEP_SUBJECT is "coreutils".
  Tracee Start() const;
  /// Runs the operation undisturbed, which must succeed, and looks at it at each call; how many calls it made.
  int CountCalls(const std::function<void(const Tracee&)>& look = [](const Tracee&) {});

  /// "" when nothing half-made stands under the final name and the only copy of nothing is gone, at whatever moment.
  std::string WhatIsHalfMade(Scope scope) const;
  /// "" when everything is as a success promises.
  std::string WhatIsUntrue(Scope scope) const;
  bool Arrived() const { return !Describe(destination).empty(); }
  /// The entries beside source and destination that are neither.
  std::vector<std::string> Strays() const;

  const Operation& operation;
  std::string source;
  std::string destinationParent;
  std::string destination;
  /// On the file system of the source: a tree with the names of the source and contents of its own.
  std::string bait;
  /// What Build made at the source, and at an occupied destination.
  Snapshot original;
  Snapshot occupant;

 private:
  std::string from;
};

/// Whether a file of the bait stands at or below \p root; no link is followed.
bool HoldsBait(const std::string& root);

}  // namespace quill_sweep
