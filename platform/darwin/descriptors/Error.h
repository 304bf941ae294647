// Why a call failed, or that it did not. Every function below Foundation that can fail answers an Error:
//
//   if (const Error error = MakeDirectory(parent, name, S_IRWXU)) return error;
//
// What it gives beside that comes in an out-parameter, which is written only on success unless the function says
// otherwise. The global errno is read in one place, right after the system call.
#pragma once

#include <cerrno>

namespace quill::darwin {

class [[nodiscard]] Error {
 public:
  /// Success.
  constexpr Error() noexcept = default;
  /// An errno value (errno(3)); 0 is success. Implicit, so that functions can return ENOENT.
  constexpr Error(int posixError) noexcept : code_(posixError) {}

  /// The name belongs to another item by now than the one that was looked at.
  static constexpr Error Replaced() noexcept { return Error(kReplaced); }
  /// This way of doing it does not exist here; nothing has happened, and the caller takes another way.
  static constexpr Error NoSuchWay() noexcept { return Error(kNoSuchWay); }

  /// True for a failure.
  constexpr explicit operator bool() const noexcept { return code_ != 0; }
  friend constexpr bool operator==(Error, Error) noexcept = default;

  /// What the world outside hears: an errno value, 0 for success. Signs of our own become the nearest one.
  constexpr int posix() const noexcept {
    if (code_ == kReplaced) return ESTALE;
    return code_ == kNoSuchWay ? EOPNOTSUPP : code_;
  }

 private:
  // Negative: no errno value is.
  static constexpr int kReplaced = -1;
  static constexpr int kNoSuchWay = -2;

  int code_ = 0;
};

/// The first of two failures: for a clean-up that can fail as well.
constexpr Error FirstOf(Error first, Error second) noexcept { return first ? first : second; }

}  // namespace quill::darwin
