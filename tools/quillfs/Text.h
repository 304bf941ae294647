// How names and other bytes of the file system are shown.
#pragma once

#include <string>
#include <string_view>

/// The text with everything escaped that could garble a terminal or mislead its reader: control characters and the
/// marks that turn the reading direction become "\n", "\t", "\x1b" or "\u{202e}", bytes that are not UTF-8 "\xff", a
/// backslash "\\".
std::string Printable(std::string_view bytes);

/// A JSON string in ASCII and quotes. Bytes that are not UTF-8 become the surrogates U+DC80 to U+DCFF, one for each
/// byte (Python's "surrogateescape"), so that no two names look alike and every name can be had back.
std::string JsonString(std::string_view bytes);

/// Columns that the text takes on a terminal.
int DisplayWidth(std::string_view printable);

/// A local date with milliseconds and the offset from UTC.
std::string DateText(double millisecondsSince1970);

/// "1.4 GiB".
std::string SizeText(double bytes);
