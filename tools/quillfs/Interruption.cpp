#include "tools/quillfs/Interruption.h"

#include <csignal>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// A type that a signal handler may write to (C11, 7.14.1.1).
volatile std::sig_atomic_t interruption = 0;

void NoteInterruption(int signal) { interruption = signal; }

void SetHandler(int signal, void (*handler)(int), int flags) {
  struct ::sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  (void)::sigemptyset(&action.sa_mask);
  struct ::sigaction before {};
  // A signal that was ignored when the program started (nohup) stays ignored.
  if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) return;
  (void)::sigaction(signal, &action, nullptr);  // cannot fail for these signals
}

}  // namespace

InterruptionScope::InterruptionScope() {
  // The default returns with the first signal, so that a second one ends a program that hangs. Calls go on
  // (SA_RESTART): the work stops at the next entry, where nothing is half-made.
  for (const int signal : kSignals) SetHandler(signal, NoteInterruption, static_cast<int>(SA_RESETHAND | SA_RESTART));
}

InterruptionScope::~InterruptionScope() {
  for (const int signal : kSignals) SetHandler(signal, SIG_DFL, 0);
}

int Interruption() noexcept { return interruption; }
