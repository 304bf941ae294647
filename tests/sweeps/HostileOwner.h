// Root works in directories that belong to another user, who may do there what the owner of a directory may. What she
// puts in the way, what root keeps beside it, and the checks of what she got by it: it must be nothing.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>

#include "tests/support/Snapshot.h"

namespace quill_sweep {

constexpr uid_t kAttacker = 65533;

/// What she puts in the place of an item of ours.
enum class Trap { kHerDirectory, kLinkToDirectory, kLinkToProgram, kHerProgram, kRootsFile, kRootsDirectory };
constexpr int kTraps = 6;

/// An item of root's that stood in her directory, which she may rename. It is made of the bait, on its file system.
bool IsRootsOwn(Trap trap);

void GiveAway(const std::string& path);

/// What root keeps for itself beside all this.
class Bait {
 public:
  explicit Bait(std::string path);
  Bait(const Bait&) = delete;
  Bait& operator=(const Bait&) = delete;
  ~Bait();

  /// "" when it is as it was; where the trap is made of it, as far as rights go.
  std::string WhatChanged(Trap trap) const;

  const std::string root;

 private:
  void WaitForTheNextTick() const;

  quill_test::Snapshot before_;
  int secret_ = -1;
  int empty_ = -1;
};

void MakeTrap(const std::string& place, Trap trap, const Bait& bait);

struct OwnedOperation {
  const char* verb;
  bool crosses = false;
  /// True from the second file system to the first.
  bool returns = false;

  bool Is(const char* name) const;
  bool HasSource() const;
  std::string Title() const;
};

/// Her tree, and her directory in which the operation works: for the trash, the root of a volume that is mounted.
class Stage {
 public:
  Stage(const OwnedOperation& operation, const std::string& here, const std::string& elsewhere);
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  ~Stage() { Clear(); }

  void Build() const;

  /// Everything that lies directly in her directories.
  std::set<std::string> Names() const;
  /// "" when she owns and can read no more than before.
  std::string WhatSheGot(Trap trap) const;

  const OwnedOperation operation;
  const std::string from;
  const std::string source;
  const std::string to;

 private:
  void Clear() const;
};

}  // namespace quill_sweep
