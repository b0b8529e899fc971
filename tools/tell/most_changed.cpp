#include "tell/most_changed.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "pictures/libvips.h"

namespace tool::tell {
namespace {

using vips::VImage;

// Sums over cells place a window well enough, and shrinking makes them.
constexpr int kCell = 16;

VImage cellsOf(const DisplayPair& pair) {
  VImage cells = (pair.before - pair.after).abs().bandmean().cast(VIPS_FORMAT_FLOAT);
  const bool isLarge = pair.before.width() >= 2 * kCell && pair.before.height() >= 2 * kCell;
  return isLarge ? cells.shrink(kCell, kCell) : cells;
}

std::vector<float> valuesOf(const VImage& cells) {
  std::size_t size = 0;
  const std::unique_ptr<float, pictures::FreeByGlib> data(static_cast<float*>(cells.write_to_memory(&size)));
  return std::vector<float>(data.get(), data.get() + size / sizeof(float));
}

bool overlap(const Rectangle& a, const Rectangle& b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height && b.top < a.top + a.height;
}

// The differences of two pictures in cells, and the windows over them.
class Cells {
 public:
  Cells(const DisplayPair& pair, int windowWidth, int windowHeight)
      : width_(pair.before.width()),
        height_(pair.before.height()),
        windowWidth_(std::min(windowWidth, width_)),
        windowHeight_(std::min(windowHeight, height_)) {
    const VImage cells = cellsOf(pair);
    columns_ = cells.width();
    rows_ = cells.height();
    across_ = static_cast<double>(width_) / columns_;
    down_ = static_cast<double>(height_) / rows_;
    wide_ = std::clamp(static_cast<int>(windowWidth_ / across_), 1, columns_);
    high_ = std::clamp(static_cast<int>(windowHeight_ / down_), 1, rows_);
    values_ = valuesOf(cells);
  }

  // The window that differs most and overlaps none of those; nothing when there is no room.
  std::optional<Rectangle> most(const std::vector<Rectangle>& taken) const {
    const int stepX = std::max(1, wide_ / 8), stepY = std::max(1, high_ / 8);
    std::optional<Rectangle> best;
    double most = -1;
    for (int row = 0; row + high_ <= rows_; row += stepY) {
      for (int column = 0; column + wide_ <= columns_; column += stepX) {
        const double here = sum(column, row);
        if (here <= most || !isFree(windowAt(column, row), taken)) continue;
        most = here;
        best = windowAt(column, row);
      }
    }
    return best;
  }

 private:
  static bool isFree(const Rectangle& window, const std::vector<Rectangle>& taken) {
    return std::none_of(taken.begin(), taken.end(), [&](const Rectangle& other) { return overlap(window, other); });
  }

  Rectangle windowAt(int column, int row) const {
    return {std::min(static_cast<int>(column * across_), width_ - windowWidth_),
            std::min(static_cast<int>(row * down_), height_ - windowHeight_), windowWidth_, windowHeight_};
  }

  double sum(int column, int row) const {
    double total = 0;
    for (int y = row; y < row + high_; ++y) {
      const float* cells = values_.data() + static_cast<std::ptrdiff_t>(y) * columns_;
      for (int x = column; x < column + wide_; ++x) total += static_cast<double>(cells[x]);
    }
    return total;
  }

  int width_, height_, windowWidth_, windowHeight_;   // in pixels
  int columns_ = 0, rows_ = 0, wide_ = 0, high_ = 0;  // of the picture and of a window, in cells
  double across_ = 1, down_ = 1;                      // pixels of a cell
  std::vector<float> values_;
};

}  // namespace

std::vector<Rectangle> mostChanged(const DisplayPair& pair, int width, int height, int count) {
  const Cells cells(pair, width, height);
  std::vector<Rectangle> found;
  while (static_cast<int>(found.size()) < count) {
    const std::optional<Rectangle> next = cells.most(found);
    if (!next) break;
    found.push_back(*next);
  }
  return found;
}

}  // namespace tool::tell
