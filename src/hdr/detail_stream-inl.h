// Per-target: the five-level decomposition over rows. Every plane is read and written once; the levels follow one
// another a few rows behind, each pass on rows that are still in the cache.
#if defined(VESKARO_HDR_DETAIL_STREAM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_DETAIL_STREAM_INL_H
#undef VESKARO_HDR_DETAIL_STREAM_INL_H
#else
#define VESKARO_HDR_DETAIL_STREAM_INL_H
#endif

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "hdr/detail_stream.h"
#include "hdr/smooth_line.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// The plain form scales both passes of a level by a quarter. Scaling by powers of two commutes with every rounding
// here, so the passes leave it out, the smoothed image of a level is kept 16^(level + 1) times too large, and the scale
// is taken back when the details are added up. Products with powers of two are exact: fusing them with a sum changes
// nothing.
constexpr float scaleOfLevel(int level) {
  return static_cast<float>(1 << (4 * (level + 1)));
}

HWY_INLINE V weighTaps(V before, V centre, V after) {
  return hn::MulAdd(centre, hn::Set(Floats(), 2.0f), hn::Add(before, after));
}

// to[x] = four times the mean of from[x - spacing], from[x] twice, from[x + spacing].
HWY_INLINE void smoothAlongRow(const float* from, float* to, int start, int end, int spacing) {
  const Floats d;
  for (int x = start; x < end; x += lanes()) {
    hn::Store(weighTaps(hn::LoadU(d, from + x - spacing), hn::Load(d, from + x), hn::LoadU(d, from + x + spacing)), d,
              to + x);
  }
}

// Sixteen times the mean, of three such rows.
HWY_INLINE V smoothAcross(const float* above, const float* row, const float* below, int x) {
  const Floats d;
  return weighTaps(hn::Load(d, above + x), hn::Load(d, row + x), hn::Load(d, below + x));
}

// The lanes that lie kDistance before those of current, and behind.
template <int kDistance>
HWY_INLINE V lanesBefore(V previous, V current) {
#if HWY_TARGET <= HWY_AVX3
  return V{_mm512_castsi512_ps(
      _mm512_alignr_epi32(_mm512_castps_si512(current.raw), _mm512_castps_si512(previous.raw), 16 - kDistance))};
#else
  const Floats d;
  constexpr int kBytes = 16 - 4 * kDistance;
#if HWY_TARGET <= HWY_AVX2
  const V middle = hn::ConcatLowerUpper(d, current, previous);
  if constexpr (kDistance == 4) return middle;
#else
  const V middle = previous;
#endif
  if constexpr (kBytes > 0) return hn::CombineShiftRightBytes<kBytes>(d, current, middle);
#endif
}

template <int kDistance>
HWY_INLINE V lanesAfter(V current, V next) {
#if HWY_TARGET <= HWY_AVX3
  return V{_mm512_castsi512_ps(
      _mm512_alignr_epi32(_mm512_castps_si512(next.raw), _mm512_castps_si512(current.raw), kDistance))};
#else
  const Floats d;
#if HWY_TARGET <= HWY_AVX2
  const V middle = hn::ConcatLowerUpper(d, next, current);
  if constexpr (kDistance == 4) return middle;
#else
  const V middle = next;
#endif
  if constexpr (kDistance < 4) return hn::CombineShiftRightBytes<4 * kDistance>(d, middle, current);
#endif
}

// What one level leaves of a row, and that row smoothed along x for the next level, whose taps are kNextSpacing apart.
// The second lags behind the first and does not reach the ends.
template <int kNextSpacing>
HWY_INLINE void smoothAcrossThenAlong(const float* above, const float* row, const float* below, float* smooth,
                                      float* nextAcross, int columns) {
  const Floats d;
  V beforeLast = hn::Zero(d), last = hn::Zero(d);
  for (int x = 0; x < columns; x += lanes()) {
    const V current = smoothAcross(above, row, below, x);
    hn::Store(current, d, smooth + x);
    if constexpr (kNextSpacing < HWY_LANES(float)) {
      const V along =
          weighTaps(lanesBefore<kNextSpacing>(beforeLast, last), last, lanesAfter<kNextSpacing>(last, current));
      hn::Store(along, d, nextAcross + x - lanes());
      beforeLast = last;
      last = current;
    } else {
      const float* const centre = smooth + x - kNextSpacing;
      hn::Store(weighTaps(hn::Load(d, centre - kNextSpacing), hn::Load(d, centre), current), d,
                nextAcross + x - kNextSpacing);
    }
  }
}

// The value, or the threshold with its sign, whichever is smaller. The threshold is not negative.
HWY_INLINE V within(V value, V threshold) {
#if HWY_TARGET <= HWY_AVX3
  constexpr int kSmallerMagnitudeSignOfFirst = 2;
  return V{_mm512_range_ps(value.raw, threshold.raw, kSmallerMagnitudeSignOfFirst)};
#else
  return hn::Min(hn::Max(value, hn::Neg(threshold)), threshold);
#endif
}

struct DetailRows {
  const float* base;
  const float* smooth[kDetailLevels];
};

// The shrunk details of all levels, finest first, then the last level's smoothed image. shrink gets a level's detail
// and smoothed value at that level's scale, and answers at it.
template <class Shrink>
HWY_INLINE V addUp(const DetailRows& rows, int x, const Shrink& shrink) {
  const Floats d;
  const V sixteen = hn::Set(d, 16.0f);
  const auto backFrom = [&d](int level) HWY_ATTR { return hn::Set(d, 1.0f / scaleOfLevel(level)); };
  V smooth = hn::LoadU(d, rows.smooth[0] + x);
  V sum = hn::Mul(shrink(0, hn::MulSub(hn::LoadU(d, rows.base + x), sixteen, smooth), smooth), backFrom(0));
  HWY_UNROLL(4)
  for (int level = 1; level < kDetailLevels; ++level) {
    const V finer = smooth;
    smooth = hn::LoadU(d, rows.smooth[level] + x);
    sum = hn::MulAdd(shrink(level, hn::MulSub(finer, sixteen, smooth), smooth), backFrom(level), sum);
  }
  return hn::MulAdd(smooth, backFrom(kDetailLevels - 1), sum);
}

// The rows of kPlanes planes of one strip. MakeRow(y) fills row y of base of every plane.
template <int kPlanes, class MakeRow>
class DetailStream {
 public:
  DetailStream(const DetailRings* rings, int height, const Strip& strip, const MakeRow& makeRow)
      : rings_(rings), height_(height), strip_(strip), makeRow_(makeRow) {}

  // Makes every row that row y of the result needs.
  void advanceTo(int y) { makeSmooth(kDetailLevels - 1, y); }

  // Row y of a plane, with its smoothed images, from the strip's first column to write.
  DetailRows rowsAt(int plane, int y) const {
    const int offset = strip_.xStart - strip_.rowStart;
    DetailRows rows = {rings_[plane].base.at(y) + offset, {}};
    for (int level = 0; level < kDetailLevels; ++level) rows.smooth[level] = rings_[plane].smooth[level].at(y) + offset;
    return rows;
  }

 private:
  void makeSmooth(int level, int last) {
    for (int& y = smoothDone_[level]; y <= last; ++y) {
      const int spacing = levelSpacing(level);
      const int finer = std::min(y + spacing, height_ - 1);
      if (level == 0) {
        makeBase(finer);
      } else {
        makeSmooth(level - 1, finer);
      }
      for (int p = 0; p < kPlanes; ++p) smoothRow(rings_[p], level, y);
    }
  }

  void makeBase(int last) {
    for (int& y = baseDone_; y <= last; ++y) {
      makeRow_(y);
      for (int p = 0; p < kPlanes; ++p) {
        float* const base = rings_[p].base.at(y);
        mirrorEnds(base, 1);
        smoothAlongRow(base, rings_[p].across[0].at(y), 0, strip_.columns(), 1);
      }
    }
  }

  void smoothRow(const DetailRings& rings, int level, int y) const {
    const int columns = strip_.columns(), spacing = levelSpacing(level);
    const StripRing& across = rings.across[level];
    const float* const above = across.at(mirroredRow(y - spacing));
    const float* const row = across.at(y);
    const float* const below = across.at(mirroredRow(y + spacing));
    float* const smooth = rings.smooth[level].at(y);
    if (level + 1 == kDetailLevels) {
      for (int x = 0; x < columns; x += lanes()) hn::Store(smoothAcross(above, row, below, x), Floats(), smooth + x);
      return;
    }
    float* const next = rings.across[level + 1].at(y);
    switch (level) {
      case 0:
        smoothAcrossThenAlong<2>(above, row, below, smooth, next, columns);
        break;
      case 1:
        smoothAcrossThenAlong<4>(above, row, below, smooth, next, columns);
        break;
      case 2:
        smoothAcrossThenAlong<8>(above, row, below, smooth, next, columns);
        break;
      default:
        smoothAcrossThenAlong<16>(above, row, below, smooth, next, columns);
    }
    finishAlong(smooth, next, 2 * spacing);
  }

  // The ends of a row along x, which are mirrored at the picture's edges.
  void finishAlong(float* smooth, float* next, int spacing) const {
    const int columns = strip_.columns();
    mirrorEnds(smooth, spacing);
    if (strip_.atLeftEdge) smoothAlongRow(smooth, next, 0, kMaxLanes, spacing);
    const int whole = (columns + lanes() - 1) / lanes() * lanes();
    smoothAlongRow(smooth, next, std::max(0, whole - 2 * kMaxLanes), columns, spacing);
  }

  int mirroredRow(int y) const { return y >= 0 && y < height_ ? y : static_cast<int>(mirroredIndex(y, height_)); }

  void mirrorEnds(float* row, int spacing) const {
    const int last = strip_.columns() - 1;
    for (int k = 1; strip_.atLeftEdge && k <= spacing; ++k) row[-k] = row[k];
    for (int k = 1; strip_.atRightEdge && k <= spacing; ++k) row[last + k] = row[last - k];
  }

  const DetailRings* rings_;
  const int height_;
  const Strip strip_;
  const MakeRow& makeRow_;
  int baseDone_ = 0;
  int smoothDone_[kDetailLevels] = {};
};

// Makes a runner in zeroed memory, which it measures first, and runs it. False when the memory is not to be had.
template <class MakeRunner>
bool runWithScratch(const MakeRunner& makeRunner) {
  Arena measure(nullptr);
  makeRunner(&measure);
  constexpr std::size_t kAlignment = sizeof(float) * kMaxLanes;
  const std::size_t bytes = sizeof(float) * static_cast<std::size_t>(measure.needed());
  void* const scratch = std::calloc(1, bytes + kAlignment);
  if (scratch == nullptr) return false;
  const auto address = reinterpret_cast<std::uintptr_t>(scratch);
  Arena arena(reinterpret_cast<float*>((address + kAlignment - 1) / kAlignment * kAlignment));
  makeRunner(&arena).run();
  std::free(scratch);
  return true;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
