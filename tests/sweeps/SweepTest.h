// The fixture of the sweeps: two directories, on different file systems where the machine has two.
#pragma once

#include <string>

#include "tests/support/Fixture.h"
#include "tests/sweeps/Scene.h"

namespace quill_sweep {

class SweepTest : public quill_test::DirectoryTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Runs \p sweep for each operation; one that needs two file systems is named aloud where there is but one.
  template <typename Sweep>
  void ForEach(const std::vector<Operation>& operations, Sweep sweep) {
    for (const auto& operation : operations) {
      if (!IsChosenOperation(operation)) continue;
      if (operation.crosses && elsewhere.empty()) {
        RecordSkipped(TitleOf(operation));
        continue;
      }
      Scene scene(operation, Root(), elsewhere);
      sweep(scene);
    }
  }

 private:
  static void RecordSkipped(const std::string& title);

  std::string elsewhere;
};

}  // namespace quill_sweep
