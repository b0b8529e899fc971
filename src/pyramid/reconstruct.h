#ifndef VESKARO_PYRAMID_RECONSTRUCT_H
#define VESKARO_PYRAMID_RECONSTRUCT_H

#include "params/settings.h"

namespace veskaro::pyramid {

// Predicts a w x h level from the next coarser one, weighted by the similarities that the guide shows. The one-pixel
// frame of the result is not written. The result must not overlap the inputs.
void reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                 const params::ReconstructSettings& s);

namespace plain {
void reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                 const params::ReconstructSettings& s);
}  // namespace plain

}  // namespace veskaro::pyramid

#endif  // VESKARO_PYRAMID_RECONSTRUCT_H
