#ifndef VESKARO_PYRAMID_LIFT_KERNEL_H
#define VESKARO_PYRAMID_LIFT_KERNEL_H

#include <cstddef>

namespace veskaro {
namespace vectors {

// The vector form of subtract. Subtracts from the first samples on and returns how many: a multiple of the vector, the
// rest is for the plain form; 0 when the processor has no vectors.
std::ptrdiff_t subtract(std::ptrdiff_t count, const float* minuend, const float* subtrahend, float* out);

}  // namespace vectors
}  // namespace veskaro

#endif  // VESKARO_PYRAMID_LIFT_KERNEL_H
