// The line filter in vectors, compiled once for every instruction set.
#include "hdr/smooth_line_kernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/smooth_line_kernel.cpp"
#include <hwy/foreach_target.h>

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;

std::ptrdiff_t smoothInside(float* temp, const float* line, std::ptrdiff_t start, std::ptrdiff_t end,
                            std::ptrdiff_t spacing) {
#if VESKARO_HAS_VECTORS
  const Floats d;
  for (; start + lanes() <= end; start += lanes()) {
    const V pair = hn::Add(hn::LoadU(d, line + start - spacing), hn::LoadU(d, line + start + spacing));
    const V centre = hn::LoadU(d, line + start);
    hn::StoreU(hn::Add(pair, hn::Add(centre, centre)), d, temp + start);
  }
#else
  (void)temp, (void)line, (void)end, (void)spacing;
#endif
  return start;
}

}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro {
namespace {
HWY_EXPORT(smoothInside);
}  // namespace

namespace vectors {

std::ptrdiff_t smoothInside(float* temp, const float* line, std::ptrdiff_t start, std::ptrdiff_t end,
                            std::ptrdiff_t spacing) {
  return HWY_DYNAMIC_DISPATCH(smoothInside)(temp, line, start, end, spacing);
}

}  // namespace vectors
}  // namespace veskaro
#endif  // HWY_ONCE
