// One tile from the input's samples through the pyramid to the output's: fill, filter, blend, and where the settings
// ask for them the stages that look at the blended picture, the guide: dots, shrinkage. Both forms give the same bytes.
#ifndef VESKARO_TILED_TILE_H
#define VESKARO_TILED_TILE_H

#include <cstdint>

#include "dots/dots.h"
#include "params/settings.h"
#include "pixels/picture.h"
#include "pixels/rectangle.h"
#include "pixels/sample_scale.h"
#include "shrink/shrink.h"
#include "tiled/tile_geometry.h"

namespace veskaro::tiled {

struct Tile {
  const pixels::PictureView& in;   // holds what the tile reads
  const pixels::PictureView& out;  // receives what it holds of the tile's main region
  TileSpan x, y;
  const params::TileSettings& settings;
  const pixels::SampleScale& scale;

  // Of the picture, what is written.
  pixels::Region written() const {
    return pixels::intersection(out.region,
                                {x.mainStart, x.mainStart + x.mainSize, y.mainStart, y.mainStart + y.mainSize});
  }
  // Of the picture, what is filtered: the main region, and what the stages after the blend look at around it. Beyond
  // the picture's edge the guide is mirrored.
  pixels::Region filtered() const {
    const int margin = (settings.shrink.isOnForAny() ? shrink::kReach : 0) + (settings.dots.areOn() ? dots::kReach : 0);
    return pixels::intersection({x.mainStart - margin, x.mainStart + x.mainSize + margin, y.mainStart - margin,
                                 y.mainStart + y.mainSize + margin},
                                {x.readStart, x.readEnd, y.readStart, y.readEnd});
  }
  // The same in columns and rows of the tile.
  pixels::Rectangle filteredArea() const {
    const pixels::Region r = filtered();
    return {xInTile(r.x0), xInTile(r.x1), yInTile(r.y0), yInTile(r.y1)};
  }
  // From columns and rows of the picture to those of the tile.
  int xInTile(int xPicture) const { return xPicture - x.mainStart + x.tileMainStart; }
  int yInTile(int yPicture) const { return yPicture - y.mainStart + y.tileMainStart; }
};

// A form of the way, for the tiles of a grid.
struct Engine {
  // memory holds `floats` floats, which were 0 before the first tile. False when a sample is infinite or not a number.
  bool (*process)(const Tile& tile, float* memory);
  std::uint64_t floats;
};

Engine plainEngine(const TileGrid& grid);

// Without a process when the processor has no vectors.
Engine vectorEngine(const TileGrid& grid, const params::TileSettings& settings, pixels::SampleType type);

}  // namespace veskaro::tiled

#endif  // VESKARO_TILED_TILE_H
