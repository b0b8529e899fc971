#ifndef VESKARO_BENCH_BENCHMARKS_H
#define VESKARO_BENCH_BENCHMARKS_H

#include "pictures.h"

namespace veskaro::bench {

// Names are kernel/NAME/TARGET, row/NAME/TARGET, call/MEGAPIXELS/BITS/UNIT/NOISE/THREADS/TARGET and hdr/NAME/TARGET.
bool registerKernels();
void registerRowSteps();  // whose "pixels" are operations on vectors
bool registerCalls(const Size& large, const Size& small);
bool registerHdr(const Size& size);

}  // namespace veskaro::bench

#endif  // VESKARO_BENCH_BENCHMARKS_H
