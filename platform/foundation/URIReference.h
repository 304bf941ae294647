// The grammar of URI references: RFC 3986, section 4.1, taken literally, in one pass.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace quill::foundation {

/// The position of a component in its reference.
struct URIRange {
  /// Of its first byte.
  std::size_t begin = 0;
  /// Behind its last byte.
  std::size_t end = 0;
};

/// The path component (section 3.3) of \p text, which may be empty; nullopt when the text is no URI reference.
std::optional<URIRange> PathOfURIReference(std::string_view text) noexcept;

}  // namespace quill::foundation
