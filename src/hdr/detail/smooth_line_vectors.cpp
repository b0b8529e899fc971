// The line filter in vectors, compiled once for every instruction set.
#include "hdr/detail/smooth_line.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/detail/smooth_line_vectors.cpp"
#include <hwy/foreach_target.h>

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {

std::ptrdiff_t smoothInside(float* sums, const float* line, std::ptrdiff_t start, std::ptrdiff_t end,
                            std::ptrdiff_t spacing) {
#if VESKARO_HAS_VECTORS
  using namespace simd::HWY_NAMESPACE;
  const Floats d;
  for (; start + lanes() <= end; start += lanes()) {
    const V pair = hn::Add(hn::LoadU(d, line + start - spacing), hn::LoadU(d, line + start + spacing));
    const V centre = hn::LoadU(d, line + start);
    hn::StoreU(hn::Add(pair, hn::Add(centre, centre)), d, sums + start);
  }
#else
  (void)sums, (void)line, (void)end, (void)spacing;
#endif
  return start;
}

}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro::hdr {
HWY_EXPORT(smoothInside);

std::ptrdiff_t vectors::smoothInside(float* sums, const float* line, std::ptrdiff_t start, std::ptrdiff_t end,
                                     std::ptrdiff_t spacing) {
  return HWY_DYNAMIC_DISPATCH(smoothInside)(sums, line, start, end, spacing);
}

}  // namespace veskaro::hdr
#endif  // HWY_ONCE
