// One run of the program: the manager, what was printed, and what went wrong.
#pragma once

#include <string>
#include <string_view>

#include "standalone/StandaloneFileManager.h"
#include "tools/quillfs/Output.h"

/// Interrupted by a signal, as shells count: its number on top, 130 for Ctrl-C.
enum ExitStatus : int { kExitSuccess = 0, kExitFailure = 1, kExitUsage = 2, kExitInterrupted = 128 };

/// An argument as a path.
QuillFileString PathOf(std::string_view text);

/// A path's text; empty when it has none.
std::string_view TextOf(const QuillFileString& path);

class Session {
 public:
  quill::StandaloneFileManager manager;
  Output output;

  /// Forgets an earlier failure, so that one that records nothing is told as one.
  void Begin();

  /// Reports on standard error that the operation on \p subject failed, with the code that it recorded and what the
  /// system said.
  void Fail(std::string_view subject);
  void Fail(const QuillFileString& path) { Fail(TextOf(path)); }
  /// The same for an operation on two paths, which is named too.
  void Fail(std::string_view operation, const QuillFileString& from, const QuillFileString& to);
  /// The same with a code of the caller's, for an operation whose failure can only mean that and records nothing.
  void FailOr(std::string_view subject, int code);
  /// The same with a code of the caller's in any case.
  void Fail(std::string_view subject, int code);
  /// The same for a call to the system that failed outside the manager.
  void FailForSystem(std::string_view subject, int posixError);
  /// Reports that the last operation was interrupted when all was at its new place and a part still at the old one.
  void FailWithSourceLeft();

  /// Prints what is left and gives the status with which the program ends.
  int Finish();

 private:
  std::string Reason();
  void Report(std::string_view subject, std::string_view reason);
  void Print(std::string_view subject, std::string_view reason);

  int status_ = kExitSuccess;
};
