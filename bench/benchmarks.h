#ifndef VESKARO_BENCH_BENCHMARKS_H
#define VESKARO_BENCH_BENCHMARKS_H

#include "pictures.h"

namespace veskaro::bench {

// Names are kernel/NAME/TARGET and call/MEGAPIXELS/BITS/UNIT/NOISE/THREADS/TARGET.
bool registerKernels();
bool registerCalls(const Size& large, const Size& small);

}  // namespace veskaro::bench

#endif  // VESKARO_BENCH_BENCHMARKS_H
