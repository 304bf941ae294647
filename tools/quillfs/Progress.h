// Tells on standard error how far long work has come, and stops it when the user asks.
#pragma once

#include <chrono>
#include <string_view>

#include "platform/darwin/trees/TreeObserver.h"
#include "tools/quillfs/Interruption.h"
#include "tools/quillfs/Session.h"

/// Watches every tree operation of the session's manager while it lives. Shows nothing unless standard error is a
/// terminal and the work has lasted for a second; what a copy could not keep is told when that is wanted.
class Progress final : public quill::darwin::TreeObserver {
 public:
  /// \p verb says what is being done: "copied".
  Progress(Session& session, std::string_view verb, bool tellsLosses = false);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  bool Advanced(const quill::darwin::TreeProgress& progress) override;
  /// Takes the line from the terminal.
  void Clear();
  /// Whether the work was stopped while it removed what has been moved.
  bool LeftPartOfSource() const noexcept { return leftPartOfSource_; }

  void MetadataNotKept(const char* entry, quill::darwin::TreeMetadata what, int error) override;

 private:
  using Clock = std::chrono::steady_clock;

  void Show(const quill::darwin::TreeProgress& progress);

  InterruptionScope interruption_;
  Session& session_;
  std::string_view verb_;
  bool tellsLosses_;
  bool isTerminal_;
  bool isShown_ = false;
  bool leftPartOfSource_ = false;
  Clock::time_point nextLine_;
};
