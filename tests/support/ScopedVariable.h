// Sets an environment variable, and restores it at the end of the scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace quill_test {

class ScopedVariable {
 public:
  /// Unsets the variable if \p value is absent.
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
