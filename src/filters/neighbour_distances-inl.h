// Per-target: distances between neighbouring pixels of a row and the rows below it. A distance is the same bits seen
// from either end, so the 12 forward ones of each pixel serve all 24 neighbours.
#if defined(VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#undef VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#else
#define VESKARO_FILTERS_NEIGHBOUR_DISTANCES_INL_H
#endif

#include "filters/neighbour_weights.h"
#include "filters/strip.h"
#include "pixels/distance-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::filters::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

// The distances of one row's pixels to all their neighbours, found from whichever end they were computed. The pointers
// are those of the rows they were computed for, column 0 of the first plane; planes follow in the order of dx.
struct DistanceRow {
  const float* beside;              // this row, to dx 1 and 2
  const float* above[kReach] = {};  // one and two rows up, to the rows as far below them, dx -2 to 2
  const float* below[kReach] = {};  // this row, to the rows one and two further down

  template <int kDx, int kDy>
  HWY_INLINE V to(int x) const {
    constexpr bool kIsForward = kDy > 0 || (kDy == 0 && kDx > 0);
    constexpr int kFromDx = kIsForward ? kDx : -kDx;
    constexpr int kFromX = kIsForward ? 0 : kDx;
    constexpr int kRow = kDy < 0 ? -kDy - 1 : kDy - 1;
    const float* rows = kDy == 0 ? beside : kDy > 0 ? below[kRow & 1] : above[kRow & 1];
    constexpr std::ptrdiff_t kPlane = kDy == 0 ? kFromDx - 1 : kFromDx + kReach;
    return hn::LoadU(Floats(), rows + kPlane * kStripFloats + kFromX + x);
  }
};

// The forward distances of the last rows, as far back as a neighbour reaches: those to dy rows further down are kept
// for dy + 1 rows. Planes are for dx 1 and 2 in a row itself, for dx -2 to 2 below.
class DistanceRing {
 public:
  explicit DistanceRing(simd::Arena* arena) : base_(arena->take(kPlanes * kStripFloats)) {}

  // Where the distances of the pixels of row y to those dy rows further down begin.
  float* forward(int dy, int y) const {
    const int plane = dy == 0 ? 0 : dy == 1 ? kToNextRow + (y % 2) * kSpan : kToLastRow + (y % 3) * kSpan;
    return base_ + plane * kStripFloats + simd::kMaxLanes;
  }

  DistanceRow around(int y) const {
    return {forward(0, y), {forward(1, y - 1), forward(2, y - 2)}, {forward(1, y), forward(2, y)}};
  }

 private:
  static constexpr int kToNextRow = kReach;
  static constexpr int kToLastRow = kToNextRow + 2 * kSpan;
  static constexpr int kPlanes = kToLastRow + 3 * kSpan;
  float* base_;
};

// Stores the distances of the pixels at x to those kDx columns further in a row, a plane after the other. Written out,
// not looped over: the processor then works on several at once.
template <class Distance, bool kSumsAreExact, int... kDx>
HWY_INLINE void storeDistances(const VectorRgb& centre, const StripRow& row, int x, float* plane) {
  ((hn::StoreU(distanceBetween<Distance, kSumsAreExact>(centre, loadRgb(row, x + kDx)), Floats(), plane + x),
    plane += kStripFloats),
   ...);
}

// Computes all forward distances of row y over [xStart, xEnd), from that row and the two below.
template <class Distance, bool kSumsAreExact>
HWY_NOINLINE void computeDistances(const DistanceRing& ring, int y, const StripRow (&rows)[kReach + 1], int xStart,
                                   int xEnd) {
  const StripRow row = rows[0], next = rows[1], last = rows[2];
  float* const beside = ring.forward(0, y);
  float* const below[kReach] = {ring.forward(1, y), ring.forward(2, y)};
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorRgb centre = loadRgb(row, x);
    storeDistances<Distance, kSumsAreExact, 1, 2>(centre, row, x, beside);
    storeDistances<Distance, kSumsAreExact, -2, -1, 0, 1, 2>(centre, next, x, below[0]);
    storeDistances<Distance, kSumsAreExact, -2, -1, 0, 1, 2>(centre, last, x, below[1]);
  }
}

// What a filter compares: pixels alone,
struct PixelDistances {
  static constexpr int kPatchReach = 0;
  explicit PixelDistances(simd::Arena* /*arena*/) {}
};

// or patches of 3 x 3 of them, in part. The rings hold what the patches of a row are made of: the distances of the
// pixels of two rows, and the sums down the columns of patches.
class PatchDistances {
 public:
  static constexpr int kPatchReach = filters::kPatchReach;
  explicit PatchDistances(simd::Arena* arena) : base_(arena->take(kRows * kPlanes * kStripFloats)) {}

  // Takes row y and the two below, and computes the forward distances of row y - 1's patches over [xStart, xEnd), which
  // are right once y has come to 2.
  template <class Distance, bool kSumsAreExact>
  HWY_NOINLINE void compute(const DistanceRing& ring, int y, const StripRow (&rows)[kReach + 1], int xStart, int xEnd,
                            const PatchShares& shares) const {
    const StripRow row = rows[0], next = rows[1], last = rows[2];
    for (int x = xStart - kPatchReach; x < xEnd + kPatchReach; x += lanes()) {
      const VectorRgb centre = loadRgb(row, x);
      stack<Distance, kSumsAreExact, 1, 2>(centre, row, x, y, 0);
      stack<Distance, kSumsAreExact, -2, -1, 0, 1, 2>(centre, next, x, y, kReach);
      stack<Distance, kSumsAreExact, -2, -1, 0, 1, 2>(centre, last, x, y, kReach + kSpan);
    }
    if (y < 2 * kPatchReach) return;
    mix(ring.forward(0, y - 1), y - 1, 0, kReach, xStart, xEnd, shares);
    mix(ring.forward(1, y - 1), y - 1, kReach, kSpan, xStart, xEnd, shares);
    mix(ring.forward(2, y - 1), y - 1, kReach + kSpan, kSpan, xStart, xEnd, shares);
  }

 private:
  static constexpr int kPlanes = kReach + 2 * kSpan;
  static constexpr int kSums = 2;  // rows 0 and 1 are those of pixels
  static constexpr int kRows = 3;

  float* plane(int row, int k) const { return base_ + (row * kPlanes + k) * kStripFloats + simd::kMaxLanes; }

  // The distances to the pixels kDx columns further in a row, on top of those of the last two rows.
  template <class Distance, bool kSumsAreExact, int... kDx>
  HWY_INLINE void stack(const VectorRgb& centre, const StripRow& row, int x, int y, int k) const {
    (stackOne(distanceBetween<Distance, kSumsAreExact>(centre, loadRgb(row, x + kDx)), x, y, k++), ...);
  }
  HWY_INLINE void stackOne(V distance, int x, int y, int k) const {
    const Floats d;
    float* const own = plane(y % 2, k) + x;  // still those of row y - 2
    const V above = hn::Add(hn::LoadU(d, own), hn::LoadU(d, plane((y + 1) % 2, k) + x));
    hn::StoreU(hn::Add(above, distance), d, plane(kSums, k) + x);
    hn::StoreU(distance, d, own);
  }

  // Planes k to k + count: row y's distances and the sums of the patches around.
  HWY_INLINE void mix(float* to, int y, int k, int count, int xStart, int xEnd, const PatchShares& shares) const {
    const Floats d;
    for (const int end = k + count; k < end; ++k, to += kStripFloats) {
      const float* const own = plane(y % 2, k);
      const float* const sums = plane(kSums, k);
      for (int x = xStart; x < xEnd; x += lanes()) {
        const V sum = hn::Add(hn::Add(hn::LoadU(d, sums + x - 1), hn::LoadU(d, sums + x)), hn::LoadU(d, sums + x + 1));
        const V ofOwn = hn::Mul(hn::LoadU(d, own + x), hn::Set(d, shares.own));
        hn::StoreU(hn::Add(ofOwn, hn::Mul(sum, hn::Set(d, shares.ofSum))), d, to + x);
      }
    }
  }

  float* base_;
};

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::filters::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
