#ifndef VESKARO_TILED_TILE_GEOMETRY_H
#define VESKARO_TILED_TILE_GEOMETRY_H

#include <cstdint>

namespace veskaro::tiled {

constexpr int kPadding = 8;            // zeros or mirrored pixels where a tile lies on the picture's border
constexpr int kSmallestUnitTile = 56;  // the first tile's overlap stays inside the picture
constexpr int kOverlap = 32;           // neighbouring picture on each side that lies inside
constexpr int kCoarseLevels = 3;       // levels of a tile pyramid beside the finest

// The tile grid of a picture along one axis. 64 bits, so that no size a host may ask about overflows.
struct GridAxis {
  std::int64_t tiles;
  std::int64_t unit;      // width of a unit tile
  std::int64_t largest;   // width of the largest tile, margins included
  std::int64_t extended;  // width of the picture with its padding
};

struct TileGrid {
  GridAxis x, y;
  std::int64_t tiles() const { return x.tiles * y.tiles; }
};

// False when the arguments describe no grid.
bool tileGrid(int width, int height, int baseUnitTile, int threads, int padding, int overlap, TileGrid* grid);

// One tile along one axis: [readStart, readEnd) of the picture lands at tileStart of the tile; the main region, the
// tile's own cell of the grid, is [mainStart, mainStart + mainSize) of the picture and starts at tileMainStart.
struct TileSpan {
  int readStart, readEnd;
  int mainStart, mainSize;
  int tileSize;
  int tileStart;
  int tileMainStart;
};

TileSpan tileSpan(const GridAxis& axis, int picture, int index);

// Pixels of a pyramid of coarseLevels coarser levels; the low 64 bits when sizes make no sense.
std::uint64_t pyramidPixels(int coarseLevels, std::int64_t width, std::int64_t height);

// The four arrays of one thread's slice of the work memory, in floats.
struct SliceLayout {
  std::uint64_t pyramid;  // the tile pyramid, and as much again for its differences
  std::uint64_t tile;     // the largest tile, twice: scratch
  std::uint64_t floats() const { return 2 * pyramid + 2 * tile; }
};

SliceLayout sliceLayout(const TileGrid& grid);

// Tiles of an axis from the first to the end, exclusive.
struct Range {
  int first, end;
};

// Those whose main regions meet the pixels [start, end) of the picture.
Range tilesTouching(const GridAxis& axis, int start, int end);

}  // namespace veskaro::tiled

#endif  // VESKARO_TILED_TILE_GEOMETRY_H
