// The manual page, written from the table of commands as well. Text of ours is escaped for roff; only the head and the
// tail are roff already.
#include "tools/quillfs/Manual.h"

#include <cctype>
#include <string_view>

namespace {

constexpr char kHead[] = R"(.TH QUILLFS 1 "" "quillfs )" QUILLFS_VERSION R"(" "User commands"
.SH NAME
quillfs \- work on files and directories through the Quill file system
.SH SYNOPSIS
.B quillfs
.I command
.RI [ option ...]
.RI [ operand ...]
.SH DESCRIPTION
Each command calls one operation of the file manager and prints its answer on standard output.
Messages go to standard error. They give the path, the reason, and in parentheses the code that a program would see.
.PP
.B \-\-
ends the options, for names that begin with
.BR \- .
Names are escaped on a terminal and printed as they are elsewhere.
.PP
With
.B \-\-json
every line is one JSON object.
A byte of a name that is not UTF\-8 becomes one of the surrogates U+DC80 to U+DCFF, as in Python's "surrogateescape".
)";

constexpr char kTail[] = R"(.SH EXIT STATUS
.TP
.B 0
Success.
.TP
.B 1
An operation failed, or standard output could not be written.
.TP
.B 2
Wrong usage; nothing was done.
.TP
.B 130
Interrupted by Ctrl-C (143 by SIGTERM, 129 by SIGHUP). What was being copied or moved has not been left half-made.
A move to another file system that had begun to remove its source has left all of it at the new place and the rest of
the source at the old one, and says so.
.SH ENVIRONMENT
.TP
.B HOME, XDG_DATA_HOME, XDG_STATE_HOME, XDG_DATA_DIRS, XDG_CONFIG_HOME, XDG_CACHE_HOME
Where the standard directories and the trash are.
.TP
.B TMPDIR
Where temporary items are created, if it is absolute; otherwise /tmp.
.TP
.B NO_COLOR
When it is not empty, nothing is coloured.
)";

/// Escapes text for roff, so that hyphens can be copied and no line begins with a request.
std::string Roff(std::string_view text) {
  std::string result = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
  for (const char character : text) {
    // A plain "-" is printed as a hyphen, which no shell takes for the minus sign of an option.
    if (character == '-' || character == '\\') result += '\\';
    result += character == '\\' ? 'e' : character;
  }
  return result;
}

std::string UpperCase(std::string_view text) {
  std::string result;
  for (const char character : text) result += static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
  return result;
}

std::string CommandText(const CommandRow& command) {
  std::string text = ".TP\n\\fB" + Roff(command.name) + "\\fR \\fI" + Roff(command.operands) + "\\fR\n";
  text += Roff(command.summary) + ".\n";
  for (const OptionRow& option : command.options) {
    text += ".br\n\\fB" + Roff(option.names) + "\\fR: " + Roff(option.help) + ".\n";
  }
  return text + ".br\nExample: " + Roff(command.example) + '\n';
}

}  // namespace

std::string ManualPage(const std::vector<CommandGroup>& groups) {
  std::string page = kHead;
  for (const CommandGroup& group : groups) {
    page += ".SH " + UpperCase(group.title) + '\n';
    for (const CommandRow& command : group.commands) page += CommandText(command);
  }
  return page + kTail;
}
