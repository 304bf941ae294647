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

/// Codes that stand for several causes, of which the system knows the one.
bool IsVague(int code) { return code == kQuillErrIO || code == kQuillErrIllegalPath; }

/// What a program should know, and what the system said where that leaves a person guessing.
std::string ReasonText(int code, int posixError) {
  if (code == kQuillErrNone && posixError == 0) return "failed without a reason";
  if (code == kQuillErrNone) code = OSXFileSystemUtils::_PosixErrToQuillErr(posixError);
  std::string reason = CodeText(code);
  if (IsVague(code) && posixError != 0) reason += ", " + std::generic_category().message(posixError);
  return reason;
}

/// What a message is about, so that nothing is seen where there is nothing.
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
  if (!failure.entry.empty() && failure.entry != TextOf(failure.path)) reason += ", at " + Printable(failure.entry);
  return reason;
}

void Session::Report(std::string_view subject, std::string_view reason) {
  status_ = kExitFailure;
  if (!WasInterrupted()) Print(subject, reason);  // who pressed the keys knows why
}

void Session::Print(std::string_view subject, std::string_view reason) {
  (void)output.Finish();  // keeps both streams in order on a terminal; a failure is told at the end
  const std::string message = "quillfs: " + std::string(subject) + ": " + std::string(reason) + '\n';
  (void)std::fputs(message.c_str(), stderr);  // there is no other place to tell
}

int Session::Finish() {
  const int error = output.Finish();
  if (error == EPIPE) return kExitFailure;  // the reader has gone and wants nothing more, not even a message
  if (error != 0) FailForSystem("standard output", error);
  return WasInterrupted() ? kExitInterrupted + Interruption() : status_;
}
