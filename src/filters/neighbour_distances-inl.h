// Per-target: distances between neighbouring pixels of a row and the rows below it. A distance is the same bits seen
// from either end, so the 12 forward ones of each pixel serve all 24 neighbours.
#if defined(VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#undef VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#else
#define VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#endif

#include "filters/colour_difference-inl.h"
#include "filters/level_stream.h"
#include "filters/neighbour_weights.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// Noise filter: planes Y, B - Y, R - Y; luma counts four times as much as a colour difference.
struct ComparisonDistance {
  template <bool kOrdinary>
  static HWY_INLINE V of(V dY, V dB, V dR) {
    const Floats d;
    // Twice the distance takes one scaling less; halving it afterwards is exact.
    if (kOrdinary) return hn::Mul(hn::Set(d, 0.5f), sumOfOrdinary(dR, dB, hn::Mul(hn::Set(d, 4.0f), dY)));
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
HWY_INLINE V distanceBetween(const VectorRgb& a, const VectorRgb& b) {
  return Distance::template of<kOrdinary>(hn::Abs(hn::Sub(a.r, b.r)), hn::Abs(hn::Sub(a.g, b.g)),
                                          hn::Abs(hn::Sub(a.b, b.b)));
}

// The distances of one row's pixels to all their neighbours, found from whichever end they were computed. The pointers
// are those of the rows they were computed for, column 0 of the first plane; planes follow in the order of dx.
struct DistanceRow {
  const float* beside;         // this row, to dx 1 and 2
  const float* above[2] = {};  // one and two rows up, to the rows as far below them, dx -2 to 2
  const float* below[2] = {};  // this row, to the rows one and two further down

  template <int kDx, int kDy>
  HWY_INLINE V to(int x) const {
    constexpr bool kIsForward = kDy > 0 || (kDy == 0 && kDx > 0);
    constexpr int kFromDx = kIsForward ? kDx : -kDx;
    constexpr int kFromX = kIsForward ? 0 : kDx;
    constexpr int kRow = kDy < 0 ? -kDy - 1 : kDy - 1;
    const float* rows = kDy == 0 ? beside : kDy > 0 ? below[kRow & 1] : above[kRow & 1];
    constexpr std::ptrdiff_t kPlane = kDy == 0 ? kFromDx - 1 : kFromDx + kReach;
    return hn::LoadU(Floats(), rows + kPlane * kStripPlane + kFromX + x);
  }
};

// The forward distances of the last rows, as far back as a neighbour reaches.
class DistanceRing {
 public:
  explicit DistanceRing(Arena* arena) : base_(arena->take(kPlanes * kStripPlane)) {}

  // Where the distances of the pixels of row y to those dy rows further down begin: planes for dx 1 and 2 in the row
  // itself, for dx -2 to 2 below.
  float* forward(int dy, int y) const {
    const int plane = dy == 0 ? 0 : dy == 1 ? 2 + (y % 2) * 5 : 12 + (y % 3) * 5;
    return base_ + plane * kStripPlane + kMaxLanes;
  }

  DistanceRow around(int y) const {
    return {forward(0, y), {forward(1, y - 1), forward(2, y - 2)}, {forward(1, y), forward(2, y)}};
  }

 private:
  static constexpr int kPlanes = 2 + 2 * 5 + 3 * 5;
  float* base_;
};

// Stores the distances of the pixels at x to those kDx columns further in a row, a plane after the other. Written out,
// not looped over: the processor then works on several at once.
template <class Distance, bool kOrdinary, int... kDx>
HWY_INLINE void storeDistances(const VectorRgb& centre, const StripRow& row, int x, float* plane) {
  ((hn::StoreU(distanceBetween<Distance, kOrdinary>(centre, loadRgb(row, x + kDx)), Floats(), plane + x),
    plane += kStripPlane),
   ...);
}

// Computes all forward distances of row y over [xStart, xEnd), from that row and the two below.
template <class Distance, bool kOrdinary>
HWY_NOINLINE void computeDistances(const DistanceRing& ring, int y, const StripRow (&rows)[3], int xStart, int xEnd) {
  const StripRow row = rows[0], next = rows[1], last = rows[2];
  float* const beside = ring.forward(0, y);
  float* const below[2] = {ring.forward(1, y), ring.forward(2, y)};
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorRgb centre = loadRgb(row, x);
    storeDistances<Distance, kOrdinary, 1, 2>(centre, row, x, beside);
    storeDistances<Distance, kOrdinary, -2, -1, 0, 1, 2>(centre, next, x, below[0]);
    storeDistances<Distance, kOrdinary, -2, -1, 0, 1, 2>(centre, last, x, below[1]);
  }
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
