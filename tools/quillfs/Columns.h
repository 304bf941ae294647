// Arranges names in columns, as wide as the terminal allows.
#pragma once

#include <string>
#include <vector>

struct ShownName {
  /// The text as printed, colour codes included, and its width without them.
  std::string text;
  int width;
};

/// Down the columns, then across.
std::string InColumns(const std::vector<ShownName>& names, int terminalWidth);
