#ifndef VESKARO_PYRAMID_RECONSTRUCT_VECTORS_H
#define VESKARO_PYRAMID_RECONSTRUCT_VECTORS_H

#include "params/settings.h"
#include "simd/vector_result.h"

namespace veskaro::pyramid::vectors {

// The vector form of reconstruct: the same bytes.
simd::VectorResult reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                               const params::ReconstructSettings& s);

}  // namespace veskaro::pyramid::vectors

#endif  // VESKARO_PYRAMID_RECONSTRUCT_VECTORS_H
