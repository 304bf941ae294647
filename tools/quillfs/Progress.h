// Tells on standard error how far long work has come, and stops it when the user asks.
#pragma once

#include <chrono>
#include <string_view>

#include "platform/darwin/TreeObserver.h"
#include "tools/quillfs/Interruption.h"
#include "tools/quillfs/Session.h"

/// Watches every tree operation of the session's manager while it lives. Shows nothing unless standard error is a
/// terminal and the work has lasted for a second.
class Progress final : public darwin::TreeObserver {
 public:
  /// \p verb says what is being done: "copied".
  Progress(Session& session, std::string_view verb);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  bool Advanced(const darwin::TreeProgress& progress) override;

 private:
  using Clock = std::chrono::steady_clock;

  void Show(const darwin::TreeProgress& progress);
  void Clear();

  InterruptionScope interruption;
  Session& session;
  std::string_view verb;
  bool isTerminal;
  bool isShown = false;
  Clock::time_point nextLine;
};
