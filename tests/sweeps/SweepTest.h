// The fixture of the sweeps: two directories, on different file systems where the machine has two; which operations and
// which calls are swept; and what was found.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/Fixture.h"
#include "tests/sweeps/Scene.h"

namespace quill_sweep {

/// All points, or those that fit into every build: QUILL_SWEEP=full in the environment.
bool IsFullSweep();
/// QUILL_SWEEP_CALL=n in the environment restricts a sweep to the n-th call.
bool IsChosenCall(int call);

/// Gives each of two items the name of the other; false when that cannot be.
bool Exchange(const std::string& one, const std::string& other);

/// Counts points and gathers what went wrong; prints the figures and fails the test in its destructor.
class Findings {
 public:
  explicit Findings(std::string sweepTitle) : title(std::move(sweepTitle)) {}
  ~Findings();
  void CountPoint() { ++points; }
  /// Nothing when \p what is "".
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

  /// Runs \p sweep for each operation of these verbs, or for the one that QUILL_SWEEP_OPERATION names by its title; one
  /// that needs two file systems is named aloud where there is but one.
  void ForEach(const std::vector<Verb>& verbs, const std::function<void(Scene&, Findings&)>& sweep);

 private:
  std::string elsewhere;
};

}  // namespace quill_sweep
