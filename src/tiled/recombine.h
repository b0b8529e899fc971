#ifndef VESKARO_TILED_RECOMBINE_H
#define VESKARO_TILED_RECOMBINE_H

#include "params/settings.h"
#include "tiled/sample_io.h"

namespace veskaro {

// Blends one row of the filtered picture with the input, in place in the output picture.
void recombineRow(const Pictures& pictures, int y, const params::BlendSettings& settings);

}  // namespace veskaro

#endif  // VESKARO_TILED_RECOMBINE_H
