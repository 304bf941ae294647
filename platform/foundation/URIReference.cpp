#include "platform/foundation/URIReference.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>

#include "platform/foundation/NSCharacterSet.h"
#include "platform/foundation/PercentEscape.h"

namespace quill::foundation {
namespace {

constexpr auto kDigit = NSCharacterSet::characterSetWithCharactersInString("0123456789");
constexpr auto kHexadecimalDigit = kDigit.setByAddingCharactersInString("ABCDEFabcdef");
constexpr auto kAlpha =
    NSCharacterSet::characterSetWithCharactersInString("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
// "scheme" in section 3.1 without its first character, which must be a letter; "reg-name" and so on in section 3.2.
constexpr auto kScheme = kAlpha.setByAddingCharactersInString("0123456789+-.");
constexpr auto kRegisteredName = kScheme.setByAddingCharactersInString("_~!$&'()*,;=");
constexpr auto kUserInformation = kRegisteredName.setByAddingCharactersInString(":");
constexpr auto kSegmentWithoutColon = kRegisteredName.setByAddingCharactersInString("@");
constexpr auto kPath = NSCharacterSet::URLPathAllowedCharacterSet();
constexpr auto kQueryOrFragment = NSCharacterSet::URLQueryAllowedCharacterSet();

/// Where the run of \p characters that begins at \p position ends.
std::size_t EndOfRun(std::string_view text, std::size_t position, const NSCharacterSet& characters) noexcept {
  while (position < text.size() && characters.contains(text[position])) ++position;
  return position;
}

/// The same with escapes among the characters.
std::size_t EndOfEscapedRun(std::string_view text, std::size_t position, const NSCharacterSet& characters) noexcept {
  for (;;) {
    position = EndOfRun(text, position, characters);
    if (EscapedByte(text, position) < 0) return position;
    position += kEscapeLength;
  }
}

bool StandsAt(std::string_view text, std::size_t position, char character) noexcept {
  return position < text.size() && text[position] == character;
}

// inet_pton(3) takes no zone ("%eth0"), and neither does the grammar.
bool IsIPv6Address(std::string_view text) noexcept {
  char terminated[INET6_ADDRSTRLEN] = {};
  // INET6_ADDRSTRLEN holds the longest address and its NUL; inet_pton wants one, and views have none.
  if (text.size() >= sizeof terminated) return false;
  std::copy(text.begin(), text.end(), terminated);
  in6_addr address;
  return ::inet_pton(AF_INET6, terminated, &address) == 1;
}

/// "v", a version in hexadecimal, ".", and an address whose form depends on the version.
bool IsFutureAddress(std::string_view text) noexcept {
  if (!StandsAt(text, 0, 'v') && !StandsAt(text, 0, 'V')) return false;
  const std::size_t dot = EndOfRun(text, 1, kHexadecimalDigit);
  return dot > 1 && StandsAt(text, dot, '.') && dot + 1 < text.size() &&
         EndOfRun(text, dot + 1, kUserInformation) == text.size();
}

/// [ user information "@" ] host [ ":" port ]. An IPv4 address is a registered name too.
bool IsAuthority(std::string_view text) noexcept {
  const std::size_t at = EndOfEscapedRun(text, 0, kUserInformation);
  if (StandsAt(text, at, '@')) text.remove_prefix(at + 1);

  std::size_t hostEnd = EndOfEscapedRun(text, 0, kRegisteredName);
  if (StandsAt(text, 0, '[')) {
    const std::size_t bracket = text.find(']');
    if (bracket == std::string_view::npos) return false;
    const std::string_view address = text.substr(1, bracket - 1);
    if (!IsIPv6Address(address) && !IsFutureAddress(address)) return false;
    // The address has replaced the name, whatever run was found at "[", which no name holds.
    hostEnd = bracket + 1;
  }
  // A port may be empty: "host:" is valid (section 3.2.3).
  if (!StandsAt(text, hostEnd, ':')) return hostEnd == text.size();
  return EndOfRun(text, hostEnd + 1, kDigit) == text.size();
}

/// [ "?" query ] [ "#" fragment ] from \p position to the end.
bool IsQueryAndFragment(std::string_view text, std::size_t position) noexcept {
  if (StandsAt(text, position, '?')) position = EndOfEscapedRun(text, position + 1, kQueryOrFragment);
  if (StandsAt(text, position, '#')) position = EndOfEscapedRun(text, position + 1, kQueryOrFragment);
  return position == text.size();
}

}  // namespace

std::optional<URIRange> PathOfURIReference(std::string_view text) noexcept {
  URIRange path;
  const std::size_t schemeEnd = EndOfRun(text, 0, kScheme);
  const bool hasScheme = StandsAt(text, schemeEnd, ':');
  if (hasScheme) {
    // Also an empty scheme, whose first character is the colon.
    if (!kAlpha.contains(text.front())) return std::nullopt;
    path.begin = schemeEnd + 1;
  }

  if (text.substr(path.begin).starts_with("//")) {
    const std::size_t authority = path.begin + 2;
    // An authority ends with the path, the query or the fragment, or with the text.
    path.begin = std::min(text.find_first_of("/?#", authority), text.size());
    if (!IsAuthority(text.substr(authority, path.begin - authority))) return std::nullopt;
  } else if (!hasScheme && StandsAt(text, EndOfEscapedRun(text, 0, kSegmentWithoutColon), ':')) {
    return std::nullopt;  // the first segment would read as a scheme
  }

  path.end = EndOfEscapedRun(text, path.begin, kPath);
  if (!IsQueryAndFragment(text, path.end)) return std::nullopt;
  return path;
}

}  // namespace quill::foundation
