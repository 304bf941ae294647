// Standard output: results and nothing else.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

class Output {
 public:
  Output();

  bool IsTerminal() const noexcept { return isTerminal_; }
  /// True on a terminal, unless NO_COLOR is set (no-color.org).
  bool HasColor() const noexcept { return hasColor_; }

  /// False from the first failure on.
  bool Print(std::string_view bytes);
  /// Escapes a name for a terminal; elsewhere leaves it unchanged.
  bool PrintName(std::string_view name) { return Print(Shown(name)); }
  bool PrintNameLine(std::string_view name) { return Print(Shown(name) + '\n'); }
  std::string Shown(std::string_view name) const;

  /// Flushes the buffer. Returns 0, or the errno of the first failure.
  int Finish();

 private:
  bool isTerminal_;
  bool hasColor_;
  int failure_ = 0;
};

/// One JSON object, printed as one line.
class JsonLine {
 public:
  JsonLine& Text(std::string_view key, std::string_view value);
  JsonLine& Number(std::string_view key, long long value);
  /// Whole numbers without a fraction, others with three digits of it.
  JsonLine& Number(std::string_view key, double value);
  JsonLine& Flag(std::string_view key, bool value);
  JsonLine& Nothing(std::string_view key);

  bool PrintTo(Output& output) { return output.Print(members_ + "}\n"); }

 private:
  JsonLine& Member(std::string_view key, std::string_view value);

  std::string members_ = "{";
};
