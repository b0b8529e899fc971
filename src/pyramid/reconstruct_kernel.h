#ifndef VESKARO_PYRAMID_RECONSTRUCT_KERNEL_H
#define VESKARO_PYRAMID_RECONSTRUCT_KERNEL_H

#include "params/settings.h"

namespace veskaro {
namespace vectors {

// The vector form of reconstruct: the same bytes. Returns false, with nothing written, when the plain form has to do
// it.
bool reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                 const params::ReconstructSettings& s);

}  // namespace vectors
}  // namespace veskaro

#endif  // VESKARO_PYRAMID_RECONSTRUCT_KERNEL_H
