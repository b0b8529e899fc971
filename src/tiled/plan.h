// How a picture is filtered: its grid and what the stages are told. A plan never changes and serves any number of
// calls.
#ifndef VESKARO_TILED_PLAN_H
#define VESKARO_TILED_PLAN_H

#include "params/settings.h"
#include "pixels/picture.h"
#include "tiled/tile_geometry.h"

namespace veskaro::tiled {

struct Plan {
  int width, height;
  TileGrid grid;
  params::TileSettings settings;

  pixels::Region picture() const { return {0, width, 0, height}; }
};

// The tiles whose main regions meet a part of the picture.
struct TileBlock {
  Range x, y;

  std::int64_t perRow() const { return x.end - x.first; }
  std::int64_t count() const { return perRow() * (y.end - y.first); }
};

TileBlock tilesTouching(const Plan& plan, const pixels::Region& part);

// What these tiles read, and what they write.
pixels::Region readBy(const Plan& plan, const TileBlock& tiles);
pixels::Region writtenBy(const Plan& plan, const TileBlock& tiles);

}  // namespace veskaro::tiled

#endif  // VESKARO_TILED_PLAN_H
