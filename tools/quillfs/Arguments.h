// What was typed behind a command.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/QuillFileString.h"

class Arguments {
 public:
  void AddOperand(std::string operand) { operands_.push_back(std::move(operand)); }
  void AddOption(std::string name, std::string value) { options_[std::move(name)] = std::move(value); }

  std::size_t Count() const noexcept { return operands_.size(); }
  const std::string& Text(std::size_t index) const { return operands_.at(index); }
  QuillFileString Path(std::size_t index) const;
  /// Every operand; the current directory when there is none and \p orHere is true.
  std::vector<QuillFileString> Paths(bool orHere = false) const;

  bool Has(std::string_view option) const { return options_.contains(option); }
  /// Null when the option was not given.
  const std::string* Value(std::string_view option) const;
  std::optional<long long> Number(std::string_view option) const;

 private:
  std::vector<std::string> operands_;
  std::map<std::string, std::string, std::less<>> options_;
};

/// A whole number that is not negative; nullopt for any other text.
std::optional<long long> ParseNumber(std::string_view text);

/// "2026-01-31", "2026-01-31 12:30:00" (local) or "@SECONDS[.FRACTION]" in milliseconds since 1970-01-01 00:00:00 UTC.
std::optional<double> ParseDate(const std::string& text);
