// The [1, 2, 1] kernel with holes, mirrored at the ends of a line (a trous algorithm, Holschneider et al., 1989).
#ifndef VESKARO_HDR_DETAIL_SMOOTH_LINE_H
#define VESKARO_HDR_DETAIL_SMOOTH_LINE_H

#include <cstddef>

#include "hdr/rgbe/picture_memory.h"

namespace veskaro::hdr {

// The sample that stands for index k of a line of size samples: mirrored about the end samples, which are not
// repeated, as often as it takes to come inside.
//
//   k:      -3 -2 -1 | 0  1  2  3 | 4  5  6        (size 4)
//   sample:  3  2  1 | 0  1  2  3 | 2  1  0
std::ptrdiff_t mirroredIndex(std::ptrdiff_t k, std::ptrdiff_t size);

// sums[i] = (x[i - spacing] + x[i + spacing]) + 2 x[i] for the line x[k] = base[k * step]: four times the mean.
void smoothLine(float* sums, const PlaneSample* base, std::ptrdiff_t step, int size, int spacing);

// The same for a line of aligned floats, in vectors where that is possible.
void smoothAlignedLine(float* sums, const float* base, std::ptrdiff_t step, int size, int spacing);

namespace vectors {

// sums[i] of a contiguous line for i in [start, the result), in whole vectors up to end. All taps lie inside the line.
// Returns start when there are no vectors.
std::ptrdiff_t smoothInside(float* sums, const float* line, std::ptrdiff_t start, std::ptrdiff_t end,
                            std::ptrdiff_t spacing);

}  // namespace vectors
}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_DETAIL_SMOOTH_LINE_H
