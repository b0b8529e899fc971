// The difference passes, compiled once for every instruction set.
#include "pyramid/lift.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pyramid/difference.cpp"
#include <hwy/foreach_target.h>

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::pyramid::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;

// Whole vectors as long as they go, then sample by sample; without vectors the latter from the start.
void subtract(std::ptrdiff_t count, const float* minuend, const float* subtrahend, float* out) {
  std::ptrdiff_t k = 0;
#if VESKARO_HAS_VECTORS
  const Floats d;
  for (; k + lanes() <= count; k += lanes()) {
    hn::StoreU(hn::Sub(hn::LoadU(d, minuend + k), hn::LoadU(d, subtrahend + k)), d, out + k);
  }
#endif
  for (; k < count; ++k) out[k] = minuend[k] - subtrahend[k];
}

}  // namespace veskaro::pyramid::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro::pyramid {
namespace {
HWY_EXPORT(subtract);
}  // namespace

void subtract(std::ptrdiff_t count, const float* minuend, const float* subtrahend, float* out) {
  HWY_DYNAMIC_DISPATCH(subtract)(count, minuend, subtrahend, out);
}

}  // namespace veskaro::pyramid
#endif  // HWY_ONCE
