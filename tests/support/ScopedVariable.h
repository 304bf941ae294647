// An environment variable that has another value for a while.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace quill_test {

class ScopedVariable {
 public:
  /// Absent when \p value is.
  ScopedVariable(const char* variable, const std::optional<std::string>& value) : name(variable) {
    const char* present = std::getenv(name);
    if (present) before = present;
    Set(value);
  }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;
  ~ScopedVariable() { Set(before); }

 private:
  void Set(const std::optional<std::string>& value) {
    (void)(value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name));
  }

  const char* name;
  std::optional<std::string> before;
};

}  // namespace quill_test
