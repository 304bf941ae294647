#include "platform/darwin/user/UserDirectoriesFile.h"

#include <algorithm>

namespace quill::darwin {
namespace {

constexpr std::string_view kHomeVariable = "$HOME";

/// Takes \p part away from the front of \p text, if it stands there.
bool Consume(std::string_view& text, std::string_view part) noexcept {
  if (!text.starts_with(part)) return false;
  text.remove_prefix(part.size());
  return true;
}

void SkipBlanks(std::string_view& text) noexcept {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
}

/// What follows the "=" of an assignment to XDG_NAME_DIR; nullopt for any other line.
std::optional<std::string_view> AssignedValue(std::string_view line, std::string_view name) noexcept {
  SkipBlanks(line);
  if (!Consume(line, "XDG_") || !Consume(line, name) || !Consume(line, "_DIR")) return std::nullopt;
  SkipBlanks(line);
  if (!Consume(line, "=")) return std::nullopt;
  SkipBlanks(line);
  return line;
}

/// The text up to the closing quotation mark; nullopt when there is no such mark, or NUL, which no path holds.
std::optional<std::string> Unquoted(std::string_view text) {
  std::string result;
  for (std::size_t position = 0; position < text.size(); ++position) {
    if (text[position] == '"') return result;
    // A backslash at the very end protects nothing, and the mark is missing as well.
    if (text[position] == '\\' && ++position == text.size()) break;
    if (text[position] == '\0') break;
    result += text[position];
  }
  return std::nullopt;
}

std::optional<std::string> DirectoryOf(std::string_view value, std::string_view home) {
  if (!Consume(value, "\"")) return std::nullopt;
  const bool isInHome = Consume(value, kHomeVariable);
  auto path = Unquoted(value);
  if (!path) return std::nullopt;
  // "$HOME" alone is how a directory is switched off; anything after it must begin a component, so "$HOMEX" is refused.
  const bool isWhole = isInHome && path->empty();
  if (!isWhole && !path->starts_with('/')) return std::nullopt;
  return isInHome ? std::string(home) + *path : path;
}

}  // namespace

std::optional<std::string> DirectoryInUserDirectoriesFile(std::string_view file, std::string_view name,
                                                          std::string_view home) {
  // The last line wins, since shells read the file, too, as a list of assignments.
  std::optional<std::string> last;
  while (!file.empty()) {
    const std::string_view line = file.substr(0, file.find('\n'));
    file.remove_prefix(std::min(line.size() + 1, file.size()));
    const auto value = AssignedValue(line, name);
    if (!value) continue;
    if (auto directory = DirectoryOf(*value, home)) last = std::move(directory);
  }
  return last;
}

}  // namespace quill::darwin
