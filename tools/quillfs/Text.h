// How names and other bytes of the file system are shown.
#pragma once

#include <string>
#include <string_view>

/// Escapes everything that could garble a terminal or mislead its reader. Control characters and the marks that change
/// the reading direction become "\n", "\t", "\x1b" or "\u{202e}", bytes that are not UTF-8 "\xff", a backslash "\\".
std::string Printable(std::string_view bytes);

/// A quoted JSON string in ASCII. Each byte that is not UTF-8 becomes a surrogate from U+DC80 to U+DCFF (Python's
/// "surrogateescape"), so that different names stay different and every name can be recovered.
std::string JsonString(std::string_view bytes);

/// How many columns the text takes on a terminal.
int DisplayWidth(std::string_view printable);

/// A local date with milliseconds and the offset from UTC.
std::string DateText(double millisecondsSince1970);

/// "1.4 GiB".
std::string SizeText(double bytes);
