// As ls does: names run down the columns, each column is as wide as its widest name, and there are as few rows as fit.
#include "tools/quillfs/Columns.h"

#include <algorithm>

namespace {

constexpr int kGap = 2;

/// The widths of the columns when the names fill \p rows rows.
std::vector<int> ColumnWidths(const std::vector<ShownName>& names, std::size_t rows) {
  std::vector<int> widths((names.size() + rows - 1) / rows, 0);
  for (std::size_t index = 0; index < names.size(); ++index) {
    widths[index / rows] = std::max(widths[index / rows], names[index].width);
  }
  return widths;
}

bool Fit(const std::vector<int>& widths, int terminalWidth) {
  // The last column has no gap after it.
  int total = -kGap;
  for (const int width : widths) total += width + kGap;
  return total <= terminalWidth;
}

}  // namespace

std::string InColumns(const std::vector<ShownName>& names, int terminalWidth) {
  if (names.empty()) return {};
  const auto narrowest = static_cast<std::size_t>(std::max(terminalWidth, 1)) / (kGap + 1) + 1;  // columns of width 1
  std::size_t rows = (names.size() + narrowest - 1) / narrowest;
  // Few rows are tried first, as more columns look better. Beyond 16 rows the steps grow, because each try looks at
  // every name.
  while (rows < names.size() && !Fit(ColumnWidths(names, rows), terminalWidth)) rows += 1 + rows / 16;
  rows = std::min(rows, names.size());

  const std::vector<int> widths = ColumnWidths(names, rows);
  std::string result;
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t index = row; index < names.size(); index += rows) {
      result += names[index].text;
      // No blanks at the end of a line.
      const bool isLast = index + rows >= names.size();
      const int gap = widths[index / rows] - names[index].width + kGap;
      if (!isLast) result.append(static_cast<std::size_t>(gap), ' ');
    }
    result += '\n';
  }
  return result;
}
