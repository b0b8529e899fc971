// The tiles of a plan as cells of one size, side by side.
//
// libvips caches an image in tiles of one size, but the last tiles of a plan are wider or narrower than the others. So
// the filtered picture is made as an image of cells, a tile each, in the upper left corner; cached as such, no tile is
// filtered twice, and the result takes its pixels from there.
#pragma once

#include "veskaronr.h"

namespace plugin {

struct GridAxis {
  int picture;  // pixels
  int unit;     // of a tile but the last
  int tiles;
  int cell;  // of the widest

  int tileOf(int pixel) const { return pixel / unit < tiles ? pixel / unit : tiles - 1; }
  int start(int tile) const { return tile * unit; }
  int end(int tile) const { return tile + 1 < tiles ? start(tile + 1) : picture; }
  int inCells(int pixel) const { return pixel + tileOf(pixel) * (cell - unit); }
};

struct Grid {
  GridAxis x, y;
};

// False when the cells would have more pixels along a side than an image can.
bool gridOf(const vnr_plan* plan, int width, int height, Grid* grid);

}  // namespace plugin
