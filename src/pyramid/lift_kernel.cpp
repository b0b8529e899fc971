// The vector form of the difference passes, compiled once for every instruction set.
#include "pyramid/lift_kernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pyramid/lift_kernel.cpp"
#include <hwy/foreach_target.h>

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {

std::ptrdiff_t subtract(std::ptrdiff_t count, const float* minuend, const float* subtrahend, float* out) {
  std::ptrdiff_t k = 0;
#if VESKARO_HAS_VECTORS
  const Floats d;
  for (; k + lanes() <= count; k += lanes()) {
    hn::StoreU(hn::Sub(hn::LoadU(d, minuend + k), hn::LoadU(d, subtrahend + k)), d, out + k);
  }
#else
  static_cast<void>(count), static_cast<void>(minuend), static_cast<void>(subtrahend), static_cast<void>(out);
#endif
  return k;
}

}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro {
namespace {
HWY_EXPORT(subtract);
}  // namespace

std::ptrdiff_t vectors::subtract(std::ptrdiff_t count, const float* minuend, const float* subtrahend, float* out) {
  return HWY_DYNAMIC_DISPATCH(subtract)(count, minuend, subtrahend, out);
}

}  // namespace veskaro
#endif  // HWY_ONCE
