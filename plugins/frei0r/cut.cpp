#include "frei0r/cut.h"

#include <cmath>
#include <cstring>

namespace plugin {
namespace {

// Cells of another scene differ by some 30 levels and more; motion changes few of them, noise averages out.
constexpr double kChangeOfScene = 12.0;

// Steps between the pixels that count: enough of them to average noise, few enough to cost next to nothing.
constexpr int kColumnStep = 4, kRowStep = 4;

// Mean brightness of a cell's pixels; a frame smaller than the grid has cells that share pixels.
float brightness(const std::uint8_t* frame, int width, int x0, int x1, int y0, int y1) {
  int sum = 0, count = 0;
  for (int y = y0; y == y0 || y < y1; y += kRowStep) {
    for (int x = x0; x == x0 || x < x1; x += kColumnStep, ++count) {
      const std::uint8_t* pixel =
          frame + 4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x));
      sum += pixel[0] + 2 * pixel[1] + pixel[2];
    }
  }
  return static_cast<float>(sum) / static_cast<float>(4 * count);
}

int edge(int cell, int cells, int size) {
  return static_cast<int>(static_cast<std::int64_t>(cell) * size / cells);
}

}  // namespace

double CutDetector::sumOfChanges(const float (&cells)[kRows][kColumns]) const {
  double sum = 0.0;
  for (int y = 0; y < kRows; ++y) {
    for (int x = 0; x < kColumns; ++x) sum += static_cast<double>(std::fabs(cells[y][x] - cells_[y][x]));
  }
  return sum;
}

bool CutDetector::isCut(double time, const std::uint8_t* frame, int width, int height) {
  float cells[kRows][kColumns];
  for (int y = 0; y < kRows; ++y) {
    for (int x = 0; x < kColumns; ++x) {
      cells[y][x] = brightness(frame, width, edge(x, kColumns, width), edge(x + 1, kColumns, width),
                               edge(y, kRows, height), edge(y + 1, kRows, height));
    }
  }
  const bool goesBack = time < time_;  // somebody searches
  const bool cuts = !hasFrame_ || goesBack || sumOfChanges(cells) > kChangeOfScene * kRows * kColumns;
  std::memcpy(cells_, cells, sizeof cells_);
  hasFrame_ = true;
  time_ = time;
  return cuts;
}

}  // namespace plugin
