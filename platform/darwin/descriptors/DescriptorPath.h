// The path by which calls that take nothing but paths reach an open item, even one that is open for lookup alone
// (proc(5)).
#pragma once

#include <cstdio>

namespace quill::darwin {

struct DescriptorPath {
  explicit DescriptorPath(int descriptor) noexcept { std::snprintf(text, sizeof text, "/proc/self/fd/%d", descriptor); }
  char text[32];
};

}  // namespace quill::darwin
