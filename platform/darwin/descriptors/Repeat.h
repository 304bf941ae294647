// How a system call is made. For the files that make them: SystemCalls.cpp and ItemCalls.cpp.
#pragma once

#include <cerrno>
#include <cstdio>

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

/// Makes a call that answers -1 with errno on failure, again for as long as a signal interrupts it.
template <typename Call>
Error Repeat(Call call) noexcept {
  for (;;) {
    if (call() != -1) return {};
    if (errno != EINTR) return errno;
  }
}

/// The same, and keeps what a successful call answers.
template <typename Call, typename Value>
Error Repeat(Call call, Value& value) noexcept {
  for (;;) {
    const auto result = call();
    if (result != -1) {
      value = static_cast<Value>(result);
      return {};
    }
    if (errno != EINTR) return errno;
  }
}

/// The path by which calls that take nothing but paths reach an open item, even one that is open for lookup alone.
struct DescriptorPath {
  explicit DescriptorPath(int descriptor) noexcept { std::snprintf(text, sizeof text, "/proc/self/fd/%d", descriptor); }
  char text[32];
};

}  // namespace quill::darwin
