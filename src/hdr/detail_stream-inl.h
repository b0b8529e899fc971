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
#if HWY_TARGET != HWY_SCALAR

// The plain form scales both passes by a quarter; scaling by powers of two commutes with every rounding here, so that
// one scaling serves both. Products with powers of two are exact: fusing them with a sum changes nothing.

// to[x] = four times the mean of from[x - spacing], from[x] twice, from[x + spacing].
HWY_INLINE void smoothAlongRow(const float* from, float* to, int columns, int spacing) {
  const Floats d;
  const V two = hn::Set(d, 2.0f);
  for (int x = 0; x < columns; x += lanes()) {
    const V outer = hn::Add(hn::LoadU(d, from + x - spacing), hn::LoadU(d, from + x + spacing));
    hn::Store(hn::MulAdd(hn::Load(d, from + x), two, outer), d, to + x);
  }
}

// to = the mean of three such rows, the middle one taken twice.
HWY_INLINE void smoothAcrossRows(const float* above, const float* row, const float* below, float* to, int columns) {
  const Floats d;
  const V sixteenth = hn::Set(d, 0.0625f), eighth = hn::Set(d, 0.125f);
  for (int x = 0; x < columns; x += lanes()) {
    const V outer = hn::Mul(hn::Add(hn::Load(d, above + x), hn::Load(d, below + x)), sixteenth);
    hn::Store(hn::MulAdd(hn::Load(d, row + x), eighth, outer), d, to + x);
  }
}

// The rows of kPlanes planes of one strip. MakeRow(y) fills row y of base of every plane.
template <int kPlanes, class MakeRow>
class DetailStream {
 public:
  DetailStream(const DetailRings* rings, int height, const Strip& strip, const MakeRow& makeRow)
      : rings_(rings), height_(height), strip_(strip), makeRow_(makeRow) {}

  // Makes every row that row y of the result needs.
  void advanceTo(int y) { makeSmooth(kDetailLevels - 1, y); }

  // to[x] = the shrunk details of all levels, finest first, then the last level's smoothed image, at row y.
  template <class Shrink>
  HWY_INLINE void addUp(int plane, int y, const Shrink& shrink, float* to) const {
    const Floats d;
    const DetailRings& r = rings_[plane];
    const int offset = strip_.xStart - strip_.rowStart, columns = strip_.xEnd - strip_.xStart;
    const float* rows[kDetailLevels + 1] = {r.base.at(y) + offset};
    for (int level = 0; level < kDetailLevels; ++level) rows[level + 1] = r.smooth[level].at(y) + offset;
    for (int x = 0; x < columns; x += lanes()) {
      V finer = hn::Load(d, rows[1] + x);
      V sum = shrink(0, hn::Sub(hn::Load(d, rows[0] + x), finer), finer);
      HWY_UNROLL(4)
      for (int level = 1; level < kDetailLevels; ++level) {
        const V smooth = hn::Load(d, rows[level + 1] + x);
        sum = hn::Add(sum, shrink(level, hn::Sub(finer, smooth), smooth));
        finer = smooth;
      }
      hn::Store(hn::Add(sum, finer), d, to + x);
    }
  }

 private:
  void makeSmooth(int level, int last) {
    const int spacing = levelSpacing(level);
    for (int& y = smoothDone_[level]; y <= last; ++y) {
      makeAcross(level, std::min(y + spacing, height_ - 1));
      for (int p = 0; p < kPlanes; ++p) {
        const StripRing& across = rings_[p].across[level];
        smoothAcrossRows(across.at(mirroredRow(y - spacing)), across.at(y), across.at(mirroredRow(y + spacing)),
                         rings_[p].smooth[level].at(y), strip_.columns());
      }
    }
  }

  void makeAcross(int level, int last) {
    for (int& y = acrossDone_[level]; y <= last; ++y) {
      if (level == 0) {
        makeRow_(y);
      } else {
        makeSmooth(level - 1, y);
      }
      for (int p = 0; p < kPlanes; ++p) {
        float* const finer = (level == 0 ? rings_[p].base : rings_[p].smooth[level - 1]).at(y);
        mirrorEnds(finer, levelSpacing(level));
        smoothAlongRow(finer, rings_[p].across[level].at(y), strip_.columns(), levelSpacing(level));
      }
    }
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
  int acrossDone_[kDetailLevels] = {};
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

#endif  // HWY_TARGET != HWY_SCALAR
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
