#ifndef VESKARO_SIMD_HAS_VECTORS_H
#define VESKARO_SIMD_HAS_VECTORS_H

#include <hwy/detect_targets.h>

// Whether the pass of the compiler that reads this line is for an instruction set with vectors. Which of its two
// fallbacks without them Highway compiles differs between compilers; both leave the work to the plain form.
#define VESKARO_HAS_VECTORS (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)

#endif  // VESKARO_SIMD_HAS_VECTORS_H
