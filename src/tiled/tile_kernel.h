#ifndef VESKARO_TILED_TILE_KERNEL_H
#define VESKARO_TILED_TILE_KERNEL_H

#include <cstddef>

#include "params/settings.h"
#include "tiled/sample_io.h"
#include "tiled/tile_geometry.h"

namespace veskaro {

namespace vectors {

// Floats of memory that a tile of this size takes, or 0 when the processor has no vectors and tiles go the plain way.
std::size_t tileFloats(int w, int h);

// One tile from the input to its final samples in the output, the blend included: the same bytes as filling, filtering
// and writing it the plain way and recombining it afterwards.
void processTile(const Pictures& pictures, const TileSpan& x, const TileSpan& y, const params::TileSettings& settings,
                 float* memory);

}  // namespace vectors
}  // namespace veskaro

#endif  // VESKARO_TILED_TILE_KERNEL_H
