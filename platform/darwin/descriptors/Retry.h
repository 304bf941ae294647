// Repeats a call that a signal interrupted, where POSIX allows that.
#pragma once

#include <cerrno>

namespace quill::darwin {

template <typename Call>
auto Retry(Call call) {
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

}  // namespace quill::darwin
