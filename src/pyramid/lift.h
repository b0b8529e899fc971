// The simple operators of the pyramid: a coarse level is a subset of the fine pixels, and the fine level is kept as
// prediction minus difference (the lifting scheme, Sweldens 1996).
#ifndef VESKARO_PYRAMID_LIFT_H
#define VESKARO_PYRAMID_LIFT_H

#include <cstddef>

namespace veskaro::pyramid {

// coarse = the pixels of fine at even rows and columns.
void lift(int wFine, int wCoarse, int hCoarse, const float* fine, float* coarse);

// out = minuend - subtrahend over count samples; out may be either of them.
void subtract(std::ptrdiff_t count, const float* minuend, const float* subtrahend, float* out);

}  // namespace veskaro::pyramid

#endif  // VESKARO_PYRAMID_LIFT_H
