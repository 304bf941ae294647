// The fixture of the sweeps: two directories, on different file systems if the machine has two, the choice of the
// operations and calls to sweep, and the findings.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/Fixture.h"
#include "tests/sweeps/Scene.h"

namespace quill_sweep {

/// True if QUILL_SWEEP=full is in the environment: all points are swept, not only as many as every build has time for.
bool IsFullSweep();
/// QUILL_SWEEP_CALL=n in the environment restricts a sweep to the n-th call.
bool IsChosenCall(int call);

/// Exchanges the names of two items; false if that fails.
bool Exchange(const std::string& one, const std::string& other);

/// Takes this process to another processor, so that it runs at the same time as the one it was forked from.
void RunBeside();

/// Counts points and collects findings. The destructor prints the figures and fails the test if there were findings.
class Findings {
 public:
  explicit Findings(std::string sweepTitle) : title(std::move(sweepTitle)) {}
  ~Findings();
  void CountPoint() { ++points; }
  /// Does nothing if \p what is "".
  void Add(const std::string& where, const std::string& what);
  void Require(bool holds, const std::string& where, const std::string& orElse) { Add(where, holds ? "" : orElse); }

 private:
  std::string title;
  std::size_t points = 0;
  std::vector<std::string> lines;
};

class SweepTest : public quill_test::DirectoryTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Runs \p sweep for each operation of these verbs, or for the one whose title is in QUILL_SWEEP_OPERATION. Prints a
  /// message about operations that need two file systems if there is only one.
  void ForEach(const std::vector<Verb>& verbs, const std::function<void(Scene&, Findings&)>& sweep);

  /// A directory on another file system; "" when there is none.
  const std::string& Elsewhere() const { return elsewhere; }

 private:
  std::string elsewhere;
};

}  // namespace quill_sweep
