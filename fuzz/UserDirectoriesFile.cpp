// The file that names the user's directories: every result is an absolute path, and every path can be expressed.
#include <string>

#include "fuzz/Fuzz.h"
#include "platform/darwin/user/UserDirectoriesFile.h"

using fuzz::Require;
using quill::darwin::DirectoryInUserDirectoriesFile;

namespace {

constexpr std::string_view kHome = "/home/of me";

std::string Line(std::string_view value) { return "\nXDG_DESKTOP_DIR=\"" + std::string(value) + "\"\n"; }

std::string Escaped(std::string_view path) {
  std::string escaped;
  for (const char character : path) {
    if (character == '"' || character == '\\' || character == '$' || character == '`') escaped += '\\';
    escaped += character;
  }
  return escaped;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view file = fuzz::Bytes(data, size);
  const auto found = DirectoryInUserDirectoriesFile(file, "DESKTOP", kHome);
  if (found) Require(found->starts_with('/') && found->find_first_of(std::string("\n\0", 2)) == std::string::npos);
  Require(DirectoryInUserDirectoriesFile(std::string(file) + Line("relative"), "DESKTOP", kHome) == found);

  const std::string_view text = fuzz::TextIn(file);
  const std::string path = "/" + std::string(text.substr(0, text.find('\n')));
  const std::string before(file);
  Require(DirectoryInUserDirectoriesFile(before + Line(Escaped(path)), "DESKTOP", kHome) == path);
  Require(DirectoryInUserDirectoriesFile(before + Line("$HOME" + Escaped(path)), "DESKTOP", kHome) ==
          std::string(kHome) + path);
  return 0;
}
