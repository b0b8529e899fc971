#ifndef VESKARO_BENCH_BENCHMARKS_H
#define VESKARO_BENCH_BENCHMARKS_H

#include "pictures.h"

namespace veskaro::bench {

// Names are kernel/NAME/TARGET, row/NAME/TARGET, call/MEGAPIXELS/BITS/UNIT/NOISE/THREADS/TARGET, stages/NAME/TARGET and
// hdr/NAME/TARGET.
bool registerKernels();
void registerRowSteps();  // whose "pixels" are operations on vectors
bool registerCalls(const Size& large, const Size& small);
void registerStages(const Size& size);
bool registerHdr(const Size& size);

}  // namespace veskaro::bench

#endif  // VESKARO_BENCH_BENCHMARKS_H
