#ifndef VESKARO_API_CLASSIC_WORK_MEMORY_H
#define VESKARO_API_CLASSIC_WORK_MEMORY_H

#include "tiled/tile_geometry.h"

namespace veskaro::api {

// Bytes of work memory for a team, or NR_ERROR_MEMORY when they do not fit an int.
int workMemoryBytes(const tiled::TileGrid& grid, int threads);

}  // namespace veskaro::api

#endif  // VESKARO_API_CLASSIC_WORK_MEMORY_H
