// One run of the program: the manager, what was printed, and what went wrong.
#pragma once

#include <string>
#include <string_view>

#include "standalone/StandaloneFileManager.h"
#include "tools/quillfs/Output.h"

/// The base of the exit status after a signal, as in shells: 128 plus its number, 130 for Ctrl-C.
enum ExitStatus : int { kExitSuccess = 0, kExitFailure = 1, kExitUsage = 2, kExitInterrupted = 128 };

/// An argument as a path.
QuillFileString PathOf(std::string_view text);

/// A path's text; empty when it has none.
std::string_view TextOf(const QuillFileString& path);

class Session {
 public:
  quill::StandaloneFileManager manager;
  Output output;

  /// Forgets an earlier failure, so that its code is not reported for one that records nothing.
  void Begin();

  /// Reports on standard error that the operation on \p subject failed, with the code that it recorded and the system's
  /// reason.
  void Fail(std::string_view subject);
  void Fail(const QuillFileString& path) { Fail(TextOf(path)); }
  /// The same for an operation on two paths; the message also names the operation.
  void Fail(std::string_view operation, const QuillFileString& from, const QuillFileString& to);
  /// The same, with \p code if the operation recorded none: for operations that can fail silently for one reason only.
  void FailOr(std::string_view subject, int code);
  /// The same, always with \p code.
  void Fail(std::string_view subject, int code);
  /// The same for a system call that failed outside the manager.
  void FailForSystem(std::string_view subject, int posixError);
  /// Reports that a move was interrupted when its copy was complete but part of the source had not been removed.
  void FailWithSourceLeft();

  /// Flushes the output and returns the program's exit status.
  int Finish();

 private:
  std::string Reason();
  void Report(std::string_view subject, std::string_view reason);
  void Print(std::string_view subject, std::string_view reason);

  int status_ = kExitSuccess;
};
