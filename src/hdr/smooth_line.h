// The [1, 2, 1] kernel with holes, mirrored at the ends of a line (a trous algorithm, Holschneider et al., 1989).
#ifndef VESKARO_HDR_SMOOTH_LINE_H
#define VESKARO_HDR_SMOOTH_LINE_H

#include <cstddef>

#include "hdr/planes.h"

namespace veskaro {

// The sample that stands for index k of a line of size samples: mirrored about the end samples, which are not
// repeated, as often as it takes to come inside.
//
//   k:      -3 -2 -1 | 0  1  2  3 | 4  5  6        (size 4)
//   sample:  3  2  1 | 0  1  2  3 | 2  1  0
std::ptrdiff_t mirroredIndex(std::ptrdiff_t k, std::ptrdiff_t size);

// temp[i] = (x[i - spacing] + x[i + spacing]) + 2 x[i] for the line x[k] = base[k * step]: four times the mean.
void smoothLine(float* temp, const PlaneSample* base, std::ptrdiff_t step, int size, int spacing);

}  // namespace veskaro

#endif  // VESKARO_HDR_SMOOTH_LINE_H
