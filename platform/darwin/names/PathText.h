// Cuts and joins the text of paths. Pure functions; any thread. Nothing here accesses the disk, so "." and ".." are
// components like any others.
//
//   path        WithoutTrailingSlashes   ParentOf   LeafOf
//   a           a                        .          a
//   a/          a                        .          a
//   a/b         a/b                      a          b
//   a//b/       a//b                     a          b
//   /a          /a                       /          a
//   /           /                        /          (empty)
//   (empty)     (empty)                  .          (empty)
#pragma once

#include <string>
#include <string_view>

namespace quill::darwin {

/// The root keeps one slash.
std::string_view WithoutTrailingSlashes(std::string_view path) noexcept;

/// The last component; empty for the root and for an empty path.
std::string_view LeafOf(std::string_view path) noexcept;

/// The path of the directory that holds the last component.
std::string_view ParentOf(std::string_view path) noexcept;

/// \p leaf in \p directory, with one slash between them; \p leaf alone when the directory is empty.
std::string Join(std::string_view directory, std::string_view leaf);

}  // namespace quill::darwin
