#include "platform/darwin/names/PathText.h"

#include <algorithm>

namespace quill::darwin {

std::string_view WithoutTrailingSlashes(std::string_view path) noexcept {
  const std::size_t kept = path.find_last_not_of('/') + 1;  // 0 when there is nothing but slashes
  return path.substr(0, std::max(kept, std::min<std::size_t>(path.size(), 1)));
}

std::string_view LeafOf(std::string_view path) noexcept {
  const std::string_view text = WithoutTrailingSlashes(path);
  return text.substr(text.rfind('/') + 1);  // no slash: everything
}

std::string_view ParentOf(std::string_view path) noexcept {
  const std::string_view text = WithoutTrailingSlashes(path);
  const std::size_t slash = text.rfind('/');
  // The slash is kept for the cut, so that the parent of "/a" is "/" and not the empty text.
  return slash == text.npos ? "." : WithoutTrailingSlashes(text.substr(0, slash + 1));
}

std::string Join(std::string_view directory, std::string_view leaf) {
  std::string path(directory);
  if (!path.empty() && path.back() != '/') path += '/';
  return path.append(leaf);
}

}  // namespace quill::darwin
