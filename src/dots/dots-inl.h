// Per-target: the step of dots.h on a row, a lane a pixel.
#if defined(VESKARO_DOTS_DOTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_DOTS_DOTS_INL_H
#undef VESKARO_DOTS_DOTS_INL_H
#else
#define VESKARO_DOTS_DOTS_INL_H
#endif

#include "dots/dots.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::dots::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

struct Range {
  V low, high;
};

HWY_INLINE void widenTo(Range& range, V value) {
  range.low = hn::Min(range.low, value);
  range.high = hn::Max(range.high, value);
}

// rows: those above, of and below the pixels. Writes whole vectors.
HWY_NOINLINE void removeDots(const float* const (&rows)[3], int pixels, float radius, float* to) {
  const Floats d;
  for (int x = 0; x < pixels; x += lanes()) {
    const V above = hn::LoadU(d, rows[0] + x), centre = hn::LoadU(d, rows[1] + x), below = hn::LoadU(d, rows[2] + x);
    Range range = {hn::Min(above, below), hn::Max(above, below)};
    for (const int dx : {-1, 1}) {
      for (const float* row : rows) widenTo(range, hn::LoadU(d, row + x + dx));
    }
    const V within = hn::Max(range.low, hn::Min(range.high, centre));
    const Mask isFlat = hn::Lt(hn::Sub(range.high, range.low), hn::Set(d, radius));
    const Mask isNear = hn::Lt(hn::Abs(hn::Sub(centre, within)), hn::Set(d, kFarthest * radius));
    hn::StoreU(hn::IfThenElse(hn::And(isFlat, isNear), hn::Add(within, hn::Zero(d)), centre), d, to + x);
  }
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::dots::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
