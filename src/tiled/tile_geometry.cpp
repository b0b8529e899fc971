// The tile grid: how a picture is cut, and how much memory its tiles take.
#include "tiled/tile_geometry.h"

#include <algorithm>

#include "pixels/level.h"

namespace veskaro::tiled {
namespace {

GridAxis gridAxis(int picture, int baseUnitTile, int threads, int padding, int overlap) {
  GridAxis axis;
  axis.extended = std::int64_t{picture} + 2 * std::int64_t{padding};
  axis.unit = axis.extended < baseUnitTile ? axis.extended : baseUnitTile;
  if (axis.unit < 1) return {0, 0, 0, 0};
  axis.tiles = axis.extended / axis.unit;
  // A wide leftover makes the last tile so much bigger that a team would wait for it: even the tiles out.
  const std::int64_t leftover = picture - axis.tiles * axis.unit;
  if (threads > 1 && axis.tiles > 1 && static_cast<double>(leftover) > static_cast<double>(axis.unit) * 0.25) {
    ++axis.tiles;
    axis.unit = axis.extended / axis.tiles;
  }
  if (axis.tiles == 1) {
    axis.largest = axis.extended;
  } else {
    const std::int64_t last = std::int64_t{picture} + padding + overlap - (axis.tiles - 1) * axis.unit;
    const std::int64_t middle = axis.unit + 2 * std::int64_t{overlap};
    axis.largest = last > middle ? last : middle;
  }
  return axis;
}

}  // namespace

bool tileGrid(int width, int height, int baseUnitTile, int threads, int padding, int overlap, TileGrid* grid) {
  grid->x = gridAxis(width, baseUnitTile, threads, padding, overlap);
  grid->y = gridAxis(height, baseUnitTile, threads, padding, overlap);
  return grid->x.tiles > 0 && grid->y.tiles > 0;
}

TileSpan tileSpan(const GridAxis& axis, int picture, int index) {
  const int unit = static_cast<int>(axis.unit);
  const bool isFirst = index == 0;
  const bool isLast = index == axis.tiles - 1;
  TileSpan s;
  s.mainStart = index * unit;
  s.mainSize = isLast ? picture - s.mainStart : unit;
  s.readStart = isFirst ? 0 : s.mainStart - kOverlap;
  s.readEnd = isLast ? picture : s.mainStart + unit + kOverlap;
  s.tileSize = s.readEnd - s.readStart + (isFirst ? kPadding : 0) + (isLast ? kPadding : 0);
  s.tileStart = isFirst ? kPadding : 0;
  s.tileMainStart = s.tileStart + (isFirst ? 0 : kOverlap);
  return s;
}

std::uint64_t pyramidPixels(int coarseLevels, std::int64_t width, std::int64_t height) {
  constexpr int kSettled = 32;  // halved so often, an int's size no longer changes
  std::uint64_t pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
  for (int level = 0; level < coarseLevels; ++level) {
    width = (width + 1) / 2;
    height = (height + 1) / 2;
    const std::uint64_t size = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    if (level == kSettled) return pixels + size * static_cast<unsigned>(coarseLevels - level);
    pixels += size;
  }
  return pixels;
}

SliceLayout sliceLayout(const TileGrid& grid) {
  const std::uint64_t pyramid = pyramidPixels(kCoarseLevels, grid.x.largest, grid.y.largest);
  const std::uint64_t tile = static_cast<std::uint64_t>(grid.x.largest) * static_cast<std::uint64_t>(grid.y.largest);
  return {pixels::kChannels * pyramid, pixels::kChannels * tile};
}

Range tilesTouching(const GridAxis& axis, int start, int end) {
  const auto tileOf = [&axis](int pixel) { return std::min(pixel / axis.unit, axis.tiles - 1); };
  return {static_cast<int>(tileOf(start)), static_cast<int>(tileOf(end - 1)) + 1};
}

}  // namespace veskaro::tiled
