// Ctrl-C during work on trees stops the work at a safe point, and it cleans up after itself.
#pragma once

/// While it lives, the first SIGINT, SIGTERM or SIGHUP only asks for a stop; a second one of its kind ends the program.
class InterruptionScope {
 public:
  InterruptionScope();
  InterruptionScope(const InterruptionScope&) = delete;
  InterruptionScope& operator=(const InterruptionScope&) = delete;
  ~InterruptionScope();
};

/// The signal that asked for a stop; 0 while none has.
int Interruption() noexcept;

inline bool WasInterrupted() noexcept { return Interruption() != 0; }
