#include "tell/places.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "pictures/libvips.h"

namespace tool::tell {
namespace {

using vips::VImage;

// Sums over cells place a window well enough, and shrinking makes them.
constexpr int kCell = 16;

VImage inCells(const VImage& values) {
  const VImage floats = values.bandmean().cast(VIPS_FORMAT_FLOAT);
  const bool isLarge = values.width() >= 2 * kCell && values.height() >= 2 * kCell;
  return isLarge ? floats.shrink(kCell, kCell) : floats;
}

VImage changeOf(const DisplayPair& pair) {
  return inCells((pair.before - pair.after).abs());
}

// Steps between neighbours of the picture after, where they are no noise any more.
VImage detailOf(const DisplayPair& pair) {
  const VImage picture = pair.after.bandmean().cast(VIPS_FORMAT_FLOAT);
  const VImage across = VImage::new_matrixv(3, 1, -1.0, 0.0, 1.0), down = VImage::new_matrixv(1, 3, -1.0, 0.0, 1.0);
  return inCells(picture.conv(across).abs() + picture.conv(down).abs());
}

std::vector<float> valuesOf(const VImage& cells) {
  std::size_t size = 0;
  const std::unique_ptr<float, pictures::FreeByGlib> data(static_cast<float*>(cells.write_to_memory(&size)));
  return std::vector<float>(data.get(), data.get() + size / sizeof(float));
}

// With half a window between them.
bool areApart(const Rectangle& a, const Rectangle& b) {
  const int across = std::abs(a.left - b.left), down = std::abs(a.top - b.top);
  return 2 * across >= 3 * a.width || 2 * down >= 3 * a.height;
}

// The sums over windows of what is in cells.
class Cells {
 public:
  explicit Cells(const VImage& cells) : columns_(cells.width()), rows_(cells.height()), values_(valuesOf(cells)) {}

  int columns() const { return columns_; }
  int rows() const { return rows_; }

  double sum(int column, int row, int wide, int high) const {
    double total = 0;
    for (int y = row; y < row + high; ++y) {
      const float* cells = values_.data() + static_cast<std::ptrdiff_t>(y) * columns_;
      for (int x = column; x < column + wide; ++x) total += static_cast<double>(cells[x]);
    }
    return total;
  }

 private:
  int columns_, rows_;
  std::vector<float> values_;
};

// The windows of a picture, and how each rates.
class Windows {
 public:
  Windows(const DisplayPair& pair, int width, int height)
      : change_(changeOf(pair)),
        detail_(detailOf(pair)),
        width_(pair.before.width()),
        height_(pair.before.height()),
        windowWidth_(std::min(width, width_)),
        windowHeight_(std::min(height, height_)) {
    across_ = static_cast<double>(width_) / change_.columns();
    down_ = static_cast<double>(height_) / change_.rows();
    wide_ = std::clamp(static_cast<int>(windowWidth_ / across_), 1, change_.columns());
    high_ = std::clamp(static_cast<int>(windowHeight_ / down_), 1, change_.rows());
  }

  // The best that lies apart from those; nothing when there is no room.
  std::optional<Rectangle> best(Look look, const std::vector<Place>& taken) const {
    const int stepX = std::max(1, wide_ / 8), stepY = std::max(1, high_ / 8);
    std::optional<Rectangle> best;
    double most = -1;
    for (int row = 0; row + high_ <= change_.rows(); row += stepY) {
      for (int column = 0; column + wide_ <= change_.columns(); column += stepX) {
        const double here = rating(look, column, row);
        if (here <= most || !isFree(at(column, row), taken)) continue;
        most = here;
        best = at(column, row);
      }
    }
    return best;
  }

 private:
  static bool isFree(const Rectangle& window, const std::vector<Place>& taken) {
    return std::all_of(taken.begin(), taken.end(), [&](const Place& other) { return areApart(window, other.window); });
  }

  Rectangle at(int column, int row) const {
    return {std::min(static_cast<int>(column * across_), width_ - windowWidth_),
            std::min(static_cast<int>(row * down_), height_ - windowHeight_), windowWidth_, windowHeight_};
  }

  double rating(Look look, int column, int row) const {
    const auto sum = [&](const Cells& cells) { return cells.sum(column, row, wide_, high_); };
    if (look == Look::kBoth) return std::sqrt(sum(change_) * sum(detail_));
    return sum(look == Look::kChange ? change_ : detail_);
  }

  Cells change_, detail_;
  int width_, height_, windowWidth_, windowHeight_;  // in pixels
  int wide_ = 0, high_ = 0;                          // of a window, in cells
  double across_ = 1, down_ = 1;                     // pixels of a cell
};

}  // namespace

std::vector<Place> placesOf(const DisplayPair& pair, int width, int height, const std::vector<Look>& looks) {
  const Windows windows(pair, width, height);
  std::vector<Place> found;
  for (const Look look : looks) {
    if (const std::optional<Rectangle> next = windows.best(look, found)) found.push_back({look, *next});
  }
  return found;
}

}  // namespace tool::tell
