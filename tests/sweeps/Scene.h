// The stage of the sweeps: a small tree with one of everything, a place to bring it to, a bait that nobody may touch,
// and the judgement of what stands there afterwards.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/sweeps/Snapshot.h"
#include "tests/sweeps/Tracee.h"

namespace quill_sweep {

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
};

std::string TitleOf(const Operation& operation);

class Scene {
 public:
  /// \p here is a directory of the test's own, \p elsewhere another one on another file system ("" when there is none).
  Scene(const Operation& operation, const std::string& here, const std::string& elsewhere);
  ~Scene();

  /// Makes everything afresh, the bait as well when it is missing.
  void Build();
  void Clear();

  /// What runs the operation: the driver, or the system's command when QUILL_SWEEP_SUBJECT is "coreutils".
  std::vector<std::string> Command() const;
  Tracee Start() const;
  /// Runs the operation undisturbed, which must succeed, and looks at it at each call; how many calls it made.
  int CountCalls(const std::function<void(const Tracee&)>& look = [](const Tracee&) {});

  /// "" when nothing half-made stands under the final name and the only copy of nothing is gone, at whatever moment.
  std::string WhatIsHalfMade(Scope scope) const;
  /// "" when everything is as a success promises.
  std::string WhatIsUntrue(Scope scope) const;
  /// The item that the operation starts from is as it was.
  bool SourceIsWhole() const { return Difference(original, Describe(source), Scope::kMetadata).empty(); }
  /// Whether anything stands under the final name.
  bool Arrived() const { return !Describe(destination).empty(); }
  /// The entries beside source and destination that are neither.
  std::vector<std::string> Strays() const;

  const Operation& operation;
  std::string source;
  std::string destinationParent;
  std::string destination;
  /// On the file system of the source: a tree with the names of the source and contents of its own.
  std::string bait;
  /// What stood at the source, and what stands at an occupied destination, after Build.
  Snapshot original;
  Snapshot occupant;

 private:
  std::string from;
  std::string to;
};

/// What both file systems hold, and show.
struct Abilities {
  bool attributes;
  bool hardLinks;
};

void MakeSampleTree(const std::string& root, Abilities abilities);
/// Removes a tree whatever its permissions; follows no link.
void RemoveAll(const std::string& path);

/// All points, or those that fit into every build: QUILL_SWEEP=full in the environment.
bool IsFullSweep();
/// QUILL_SWEEP_CALL=n in the environment restricts a sweep to the n-th call.
bool IsChosenCall(int call);
/// QUILL_SWEEP_OPERATION=title in the environment restricts a sweep to one operation.
bool IsChosenOperation(const Operation& operation);

/// Counts points and gathers what went wrong; prints the figures and fails the test in its destructor.
class Findings {
 public:
  explicit Findings(std::string sweepTitle) : title(std::move(sweepTitle)) {}
  ~Findings();
  void CountPoint() { ++points; }
  void CountLeftovers(std::size_t count) { leftovers += count; }
  void Add(const std::string& where, const std::string& what);

 private:
  std::string title;
  std::size_t points = 0;
  std::size_t leftovers = 0;
  std::vector<std::string> lines;
};

}  // namespace quill_sweep
