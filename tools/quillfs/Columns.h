// Arranges names in columns, as wide as the terminal allows.
#pragma once

#include <string>
#include <vector>

struct ShownName {
  /// With what colours it, and without.
  std::string text;
  int width;
};

/// Down the columns, then across.
std::string InColumns(const std::vector<ShownName>& names, int terminalWidth);
