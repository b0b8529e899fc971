// Per-target: distances between neighbouring pixels of a row and the rows below it. A distance is the same bits seen
// from either end, so the 12 forward ones of each pixel serve all 24 neighbours.
#if defined(VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#undef VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#else
#define VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#endif

#include "filters/neighbour_weights.h"
#include "simd/rows.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR

// Noise filter: planes Y, B - Y, R - Y; luma counts four times as much as a colour difference.
struct ComparisonDistance {
  template <bool kOrdinary>
  static HWY_INLINE V of(V dY, V dB, V dR) {
    const Floats d;
    if (kOrdinary) {
      const V half = hn::Set(d, 0.5f);
      return sumOfOrdinary(hn::Mul(half, dR), hn::Mul(half, dB), hn::Add(dY, dY));
    }
    const Doubles dd;
    const Widened y = widen(dY);
    const Widened b = widen(dB);
    const Widened r = widen(dR);
    const VD half = hn::Set(dd, 0.5);
    return narrow(hn::Add(hn::Add(y.low, y.low), hn::Mul(half, hn::Add(r.low, b.low))),
                  hn::Add(hn::Add(y.high, y.high), hn::Mul(half, hn::Add(r.high, b.high))));
  }
};

// Sharpening: planes R, G, B, green and blue added first.
struct ColourDistance {
  template <bool kOrdinary>
  static HWY_INLINE V of(V dR, V dG, V dB) {
    return kOrdinary ? sumOfOrdinary(dG, dB, dR) : sumInDouble(dG, dB, dR);
  }
};

template <class Distance, bool kOrdinary>
HWY_INLINE V distanceTo(V c0, V c1, V c2, const Rows& other, int x) {
  const Floats d;
  const V d0 = hn::Abs(hn::Sub(c0, hn::LoadU(d, other.plane[0] + x)));
  const V d1 = hn::Abs(hn::Sub(c1, hn::LoadU(d, other.plane[1] + x)));
  const V d2 = hn::Abs(hn::Sub(c2, hn::LoadU(d, other.plane[2] + x)));
  return Distance::template of<kOrdinary>(d0, d1, d2);
}

// The forward distances of the last rows, as far back as a neighbour reaches.
class DistanceRing {
 public:
  DistanceRing() = default;
  DistanceRing(Arena* arena, std::ptrdiff_t rowFloats) : rowFloats_(rowFloats), base_(arena->take(27 * rowFloats)) {}

  // Distances of the pixels of row q to those dx columns and dy rows further on; dy > 0, or dy == 0 and dx > 0.
  float* forward(int dx, int dy, int q) const {
    const int row = dy == 0 ? dx - 1 : dy == 1 ? 2 + (q % 2) * 5 + dx + kReach : 12 + (q % 3) * 5 + dx + kReach;
    return base_ + row * rowFloats_ + kMaxLanes;
  }

  // Distances of the pixels of row q to their neighbours at (dx, dy), whichever end they were computed from.
  const float* between(int dx, int dy, int q) const {
    const bool isForward = dy > 0 || (dy == 0 && dx > 0);
    return isForward ? forward(dx, dy, q) : forward(-dx, -dy, q + dy) + dx;
  }

 private:
  std::ptrdiff_t rowFloats_ = 0;
  float* base_ = nullptr;
};

// Computes all forward distances of row q over [xStart, xEnd), from that row and the two below.
template <class Distance, bool kOrdinary>
HWY_NOINLINE void computeDistances(const DistanceRing& ring, int q, const Rows (&rows)[3], int xStart, int xEnd) {
  const Floats d;
  float* to[3][5];
  for (int dy = 0; dy <= kReach; ++dy) {
    for (int dx = dy == 0 ? 1 : -kReach; dx <= kReach; ++dx) to[dy][dx + kReach] = ring.forward(dx, dy, q);
  }
  for (int x = xStart; x < xEnd; x += lanes()) {
    const V c0 = hn::LoadU(d, rows[0].plane[0] + x);
    const V c1 = hn::LoadU(d, rows[0].plane[1] + x);
    const V c2 = hn::LoadU(d, rows[0].plane[2] + x);
    for (int dx = 1; dx <= kReach; ++dx) {
      hn::StoreU(distanceTo<Distance, kOrdinary>(c0, c1, c2, rows[0], x + dx), d, to[0][dx + kReach] + x);
    }
    for (int dy = 1; dy <= kReach; ++dy) {
      for (int dx = -kReach; dx <= kReach; ++dx) {
        hn::StoreU(distanceTo<Distance, kOrdinary>(c0, c1, c2, rows[dy], x + dx), d, to[dy][dx + kReach] + x);
      }
    }
  }
}

#endif  // HWY_TARGET != HWY_SCALAR
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
