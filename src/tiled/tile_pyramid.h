#ifndef VESKARO_TILED_TILE_PYRAMID_H
#define VESKARO_TILED_TILE_PYRAMID_H

#include "params/settings.h"
#include "pixels/rectangle.h"

namespace veskaro::tiled {

// The buffers of one tile: two pyramids (levels one after the other) and two scratch images of the tile's size.
struct TileBuffers {
  float* pyramid;      // level 0 is the tile
  float* differences;  // same levels
  float* reduced;
  float* prediction;
};

// Filters a tile through the pyramid. mainArea is filtered at level 0; coarser levels but for a two-pixel border.
// Returns the area filtered at the coarsest level.
pixels::Rectangle filterTile(int w, int h, const pixels::Rectangle& mainArea, int workers, const TileBuffers& buffers,
                             const params::TileSettings& settings);

// The same bytes in plain code, which takes no memory beside the buffers.
void filterTilePlainly(int w, int h, const pixels::Rectangle& mainArea, const TileBuffers& buffers,
                       const params::TileSettings& settings);

}  // namespace veskaro::tiled

#endif  // VESKARO_TILED_TILE_PYRAMID_H
