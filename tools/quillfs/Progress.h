// Shows the progress of long work on standard error, and stops the work when the user asks.
#pragma once

#include <chrono>
#include <string_view>

#include "platform/darwin/trees/TreeObserver.h"
#include "tools/quillfs/Interruption.h"
#include "tools/quillfs/Session.h"

/// Watches every tree operation of the session's manager while it lives. Shows nothing unless standard error is a
/// terminal and the work has lasted for a second. On request it also reports what a copy could not keep.
class Progress final : public quill::darwin::TreeObserver {
 public:
  /// \p verb says what is being done: "copied".
  Progress(Session& session, std::string_view verb, bool tellsLosses = false);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  bool Advanced(const quill::darwin::TreeProgress& progress) override;
  /// Clears the progress line.
  void Clear();
  /// True if a move was stopped after its copy was in place, while it removed the source.
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
