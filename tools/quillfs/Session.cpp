// A message has the subject, the code's words and number, and the system's reason where the code covers several. It is
// made of the last failure alone, so every command begins with Begin, which forgets the one before.
#include "tools/quillfs/Session.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "platform/osx/OSXFileSystemUtils.h"
#include "standalone/ErrorText.h"
#include "tools/quillfs/Interruption.h"
#include "tools/quillfs/Text.h"

namespace {

std::string CodeText(int code) { return quill::QuillErrText(code) + (" (" + std::to_string(code) + ")"); }

/// True for codes that cover several causes, so that the system's own text says more.
bool IsVague(int code) { return code == kQuillErrIO || code == kQuillErrIllegalPath; }

/// The text and number of the code, and the system's reason where the code alone is too vague.
std::string ReasonText(int code, int posixError) {
  if (code == kQuillErrNone && posixError == 0) return "failed without a reason";
  // Some operations record no code. The one of the system's reason has the same words, and is what others would have
  // recorded.
  if (code == kQuillErrNone) code = OSXFileSystemUtils::_PosixErrToQuillErr(posixError);
  std::string reason = CodeText(code);
  if (IsVague(code) && posixError != 0) reason += ", " + std::generic_category().message(posixError);
  return reason;
}

/// The subject of a message, with quotes around an empty one to make it visible.
std::string Quoted(std::string_view subject) { return subject.empty() ? "\"\"" : Printable(subject); }

}  // namespace

QuillFileString PathOf(std::string_view text) {
  QuillFileString path;
  path.setUTF8(std::string(text).c_str());
  return path;
}

std::string_view TextOf(const QuillFileString& path) {
  return path.getUTF8() ? std::string_view(path.getUTF8()) : std::string_view();
}

// The manager keeps a code until another one replaces it; successes leave it.
void Session::Begin() {
  manager.SetLastError(kQuillErrNone);
  manager.ForgetFailure();
}

void Session::Fail(std::string_view subject) { Report(Quoted(subject), Reason()); }

void Session::Fail(std::string_view operation, const QuillFileString& from, const QuillFileString& to) {
  const std::string subject = std::string(operation) + ' ' + Quoted(TextOf(from)) + " to " + Quoted(TextOf(to));
  Report(subject, Reason());
}

void Session::FailOr(std::string_view subject, int code) {
  const bool hasReason = manager.GetLastError() != kQuillErrNone;
  hasReason ? Fail(subject) : Fail(subject, code);
}

void Session::Fail(std::string_view subject, int code) { Report(Quoted(subject), CodeText(code)); }

void Session::FailForSystem(std::string_view subject, int posixError) {
  Report(Quoted(subject), ReasonText(kQuillErrNone, posixError));
}

void Session::FailWithSourceLeft() {
  Print(Quoted(TextOf(manager.LastFailure().path)),
        "interrupted; all of it is at the new place, and what has not been removed yet still at the old one");
}

std::string Session::Reason() {
  const quill::OperationFailure& failure = manager.LastFailure();
  std::string reason = ReasonText(manager.GetLastError(), failure.posixError);
  // A tree may hold thousands of items, so the message names the one that failed.
  if (!failure.entry.empty() && failure.entry != TextOf(failure.path)) reason += ", at " + Printable(failure.entry);
  return reason;
}

void Session::Report(std::string_view subject, std::string_view reason) {
  status_ = kExitFailure;
  if (!WasInterrupted()) Print(subject, reason);  // the user who interrupted the work knows the reason
}

void Session::Print(std::string_view subject, std::string_view reason) {
  (void)output.Finish();  // keeps both streams in order on a terminal; a failure is reported at the end
  const std::string message = "quillfs: " + std::string(subject) + ": " + std::string(reason) + '\n';
  (void)std::fputs(message.c_str(), stderr);  // if this fails, there is nowhere else to report it
}

int Session::Finish() {
  const int error = output.Finish();
  if (error == EPIPE) return kExitFailure;  // the reader has closed the pipe, so a message would be noise
  if (error != 0) FailForSystem("standard output", error);
  // Even if the work was finished when the signal came: the caller asked for an end.
  return WasInterrupted() ? kExitInterrupted + Interruption() : status_;
}
