#ifndef VESKARO_HDR_SMOOTH_LINE_KERNEL_H
#define VESKARO_HDR_SMOOTH_LINE_KERNEL_H

#include <cstddef>

namespace veskaro {
namespace vectors {

// The samples of a line whose taps lie inside it, in whole vectors from start on: temp[i] for i in [start, the result).
// Returns start when there are no vectors.
std::ptrdiff_t smoothInside(float* temp, const float* line, std::ptrdiff_t start, std::ptrdiff_t end,
                            std::ptrdiff_t spacing);

}  // namespace vectors
}  // namespace veskaro

#endif  // VESKARO_HDR_SMOOTH_LINE_KERNEL_H
