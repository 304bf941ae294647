// The scene of the sweeps: a small tree with one of everything, a destination, a bait that must not be touched, and the
// checks of what is there afterwards.
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
  /// The driver's name for it, and the system's command that does much the same, for comparison.
  const char* name;
  std::vector<std::string> command;
  bool clobbers = false;
  bool crosses = false;
  /// True for a move from the second file system to the first.
  bool returns = false;

  std::string Title() const;
};

const std::vector<Operation>& Operations();

class Scene {
 public:
  /// \p here is the test's directory, \p elsewhere one on another file system ("" if there is none).
  Scene(const Operation& operation, const std::string& here, const std::string& elsewhere);
  ~Scene();

  /// Creates everything anew, and the bait if it is missing.
  void Build();

  /// Starts the operation by the driver, or the system's command when QUILL_SWEEP_SUBJECT is "coreutils".
  Tracee Start() const;
  /// Runs the operation undisturbed, which must succeed, and inspects it at each call. Returns the number of calls.
  int CountCalls(const std::function<void(const Tracee&)>& look = [](const Tracee&) {});

  /// "" if nothing half-made has the final name and nothing has lost its only copy. Must hold at every moment.
  std::string WhatIsHalfMade(Scope scope) const;
  /// "" if everything is as a success promises.
  std::string WhatIsUntrue(Scope scope) const;
  bool Arrived() const { return !Describe(destination).empty(); }
  /// The entries beside source and destination that are neither.
  std::vector<std::string> Strays() const;

  const Operation& operation;
  std::string source;
  std::string destinationParent;
  std::string destination;
  /// A tree on the file system of the source, with the same names and other contents.
  std::string bait;
  /// What Build created at the source, and at an occupied destination.
  Snapshot original;
  Snapshot occupant;

 private:
  std::string from;
};

/// True if a file of the bait is at or below \p root; no link is followed.
bool HoldsBait(const std::string& root);

}  // namespace quill_sweep
