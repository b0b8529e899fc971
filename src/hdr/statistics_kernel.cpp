// Counting passes of the statistics in vectors, compiled once for every instruction set.
#include "hdr/statistics_kernel.h"

#include <algorithm>
#include <random>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/statistics_kernel.cpp"
#include <hwy/foreach_target.h>

#include "hdr/rgbe-inl.h"
#include "hdr/ybr-inl.h"
#include "hdr/ybr.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

namespace {

// Bits of the colour sums and of the luminances of a vector of pixels.
struct Values {
  VI bits[kQuantities];
};

HWY_INLINE VI bitsOrOne(V v) {
  const Floats d;
  return hn::BitCast(Ints(), hn::IfThenElse(hn::Gt(v, hn::Zero(d)), v, hn::Set(d, 1.0f)));
}

HWY_INLINE Values valuesOfOrdinary(const VPixels& p) {
  const V scale = scaleOf(p);
  const VRgb m = mantissas(p);
  const V sum = hn::Add(hn::Add(m.b, m.g), m.r);
  return {{bitsOrOne(hn::Mul(sum, scale)), bitsOrOne(hn::Mul(luminance(m), scale))}};
}

Values valuesOneByOne(const ConstRgbeRow& row, int i, const ExponentTable& table) {
  alignas(64) float sums[HWY_LANES(float)], luminances[HWY_LANES(float)];
  for (int k = 0; k < lanes(); ++k) {
    const Rgb colour = decode(row, i + k, table);
    sums[k] = (colour.b + colour.g) + colour.r;
    luminances[k] = veskaro::luminance(colour);
  }
  return {{bitsOrOne(hn::Load(Floats(), sums)), bitsOrOne(hn::Load(Floats(), luminances))}};
}

HWY_INLINE Values valuesOf(const ConstRgbeRow& row, int i, const ExponentTable& table) {
  const VPixels p = loadPixels(row, i);
  return HWY_LIKELY(areOrdinary(p)) ? valuesOfOrdinary(p) : valuesOneByOne(row, i, table);
}

// Values on their way into the cells of brackets: a vector adds what it has of them, and they are counted many at a
// time.
class BracketQueue {
 public:
  explicit BracketQueue(QuantityCounts* counts) : counts_(counts) {}

  HWY_INLINE void add(VI bits, hn::Mask<Ints> chosen) {
    const Ints d;
#if HWY_TARGET <= HWY_AVX3
    hn::StoreU(hn::Compress(bits, chosen), d, values_ + queued_);
    queued_ += static_cast<int>(hn::CountTrue(d, chosen));
#else
    // Without an instruction for it, and with few lanes chosen, one after the other is faster.
    std::uint8_t mask = 0;
    hn::StoreMaskBits(d, chosen, &mask);
    if (HWY_LIKELY(mask == 0)) return;
    alignas(32) std::int32_t lane[HWY_LANES(float)];
    hn::Store(bits, d, lane);
    for (unsigned left = mask; left != 0; left &= left - 1) {
      values_[queued_++] = lane[hwy::Num0BitsBelowLS1Bit_Nonzero32(left)];
    }
#endif
    if (HWY_UNLIKELY(queued_ > kRoom)) empty();
  }

  void empty() {
    Bracket(&brackets)[kPercentiles] = counts_->brackets;
    if (brackets[0].end() <= brackets[1].first && brackets[1].end() <= brackets[2].first) {
      countApart(brackets[1].first, brackets[2].first);
    } else {
      for (Bracket& bracket : brackets) countIn(&bracket);
    }
    queued_ = 0;
  }

 private:
  void countIn(Bracket* bracket) const {
    for (int i = 0; i < queued_; ++i) {
      if (bracket->holds(values_[i])) ++bracket->cells[(values_[i] - bracket->first) >> bracket->shift];
    }
  }

  // With brackets that lie apart each value is in one of them, and no branch has to guess in which.
  void countApart(std::int32_t second, std::int32_t third) const {
    for (int i = 0; i < queued_; ++i) {
      const std::int32_t value = values_[i];
      const Bracket& bracket = counts_->brackets[(value >= second) + (value >= third)];
      ++bracket.cells[(value - bracket.first) >> bracket.shift];
    }
  }

  static constexpr int kRoom = 1024;
  QuantityCounts* counts_;
  int queued_ = 0;
  std::int32_t values_[kRoom + 2 * HWY_LANES(float)];
};

// What is known of one quantity while the rows go by, lane by lane.
struct QuantityLanes {
  explicit QuantityLanes(const QuantityCounts& counts) {
    const Ints d;
    smallest = hn::Set(d, INT32_MAX);
    largest = hn::Zero(d);
    for (int n = 0; n < kPercentiles; ++n) {
      below[n] = hn::Zero(d);
      first[n] = counts.brackets[n].first;
      end[n] = counts.brackets[n].end();
    }
  }

  // Returns the lanes inside a bracket. Lanes that are not new are beyond every bracket in counted.
  HWY_INLINE hn::Mask<Ints> add(VI bits, VI counted) {
    const Ints d;
    smallest = hn::Min(smallest, bits);
    largest = hn::Max(largest, bits);
    hn::Mask<Ints> inside = hn::MaskFromVec(hn::Zero(d));
    HWY_UNROLL(3)
    for (int n = 0; n < kPercentiles; ++n) {
      const auto isBelow = hn::Lt(counted, hn::Set(d, first[n]));
      below[n] = hn::Sub(below[n], hn::VecFromMask(d, isBelow));  // a mask's lanes are 0 or -1
      inside = hn::Or(inside, hn::AndNot(isBelow, hn::Lt(counted, hn::Set(d, end[n]))));
    }
    return inside;
  }

  void storeTo(QuantityCounts* counts) const {
    const Ints d;
    alignas(64) std::int32_t lane[HWY_LANES(float)];
    for (int n = 0; n < kPercentiles; ++n) {
      hn::Store(below[n], d, lane);
      for (std::int32_t count : lane) counts->brackets[n].below += static_cast<std::uint64_t>(count);
    }
    hn::Store(smallest, d, lane);
    counts->smallest = std::min(counts->smallest, *std::min_element(lane, lane + lanes()));
    hn::Store(largest, d, lane);
    counts->largest = std::max(counts->largest, *std::max_element(lane, lane + lanes()));
  }

  VI smallest, largest;
  VI below[kPercentiles];
  std::int32_t first[kPercentiles], end[kPercentiles];
};

}  // namespace

bool canCount(const PictureSize& size) {
  return size.width >= lanes();
}

namespace {

// Steps through the vectors of a picture at random distances, always the same.
class SampleCursor {
 public:
  SampleCursor(const PictureSize& size, int stride)
      : perRow_(size.width / lanes()), end_(std::int64_t{perRow_} * size.height), stride_(stride) {}

  bool atEnd() const { return n_ >= end_; }
  int row() const { return static_cast<int>(n_ / perRow_); }
  int column() const { return static_cast<int>(n_ % perRow_) * lanes(); }
  void advance() { n_ += stride_ == 1 ? 1 : 1 + static_cast<int>(random_() % (2u * stride_ - 1)); }

 private:
  const int perRow_;
  const std::int64_t end_;
  const int stride_;
  std::int64_t n_ = 0;
  std::minstd_rand random_;
};

}  // namespace

void countCoarsely(const PictureSize& size, const unsigned char* picture, int stride, CoarseHistogram* histograms) {
  const Ints d;
  const ExponentTable table;
  SampleCursor ahead(size, stride);
  const auto fetchNext = [&] {
    if (ahead.atEnd()) return;
    const ConstRgbeRow row = rowOf(picture, size.width, ahead.row());
    prefetchPixels(row, ahead.column());
    ahead.advance();
  };
  constexpr int kAhead = 16;
  for (int n = 0; n < kAhead; ++n) fetchNext();
  for (SampleCursor here(size, stride); !here.atEnd(); here.advance()) {
    fetchNext();
    const Values values = valuesOf(rowOf(picture, size.width, here.row()), here.column(), table);
    for (int q = 0; q < kQuantities; ++q) {
      alignas(64) std::int32_t bins[HWY_LANES(float)];
      hn::Store(hn::ShiftRight<16>(values.bits[q]), d, bins);
      for (std::int32_t bin : bins) ++histograms[q].counts[bin];
    }
  }
}

void countInBrackets(const PictureSize& size, const unsigned char* picture, QuantityCounts* quantities) {
  const Ints d;
  const ExponentTable table;
  BracketQueue sumQueue(&quantities[0]), luminanceQueue(&quantities[1]);
  // The last vector of a row may overlap the one before.
  const int overlap = (lanes() - size.width % lanes()) % lanes();
  const auto old = hn::Lt(hn::Iota(d, 0), hn::Set(d, overlap));
  const VI beyond = hn::Set(d, INT32_MAX);
  for (int y = 0; y < size.height; ++y) {
    const ConstRgbeRow row = rowOf(picture, size.width, y);
    QuantityLanes sums(quantities[0]), luminances(quantities[1]);
    for (int i = 0; i + lanes() <= size.width; i += lanes()) {
      const Values v = valuesOf(row, i, table);
      sumQueue.add(v.bits[0], sums.add(v.bits[0], v.bits[0]));
      luminanceQueue.add(v.bits[1], luminances.add(v.bits[1], v.bits[1]));
    }
    if (overlap > 0) {
      const Values v = valuesOf(row, size.width - lanes(), table);
      sumQueue.add(v.bits[0], sums.add(v.bits[0], hn::IfThenElse(old, beyond, v.bits[0])));
      luminanceQueue.add(v.bits[1], luminances.add(v.bits[1], hn::IfThenElse(old, beyond, v.bits[1])));
    }
    sums.storeTo(&quantities[0]);
    luminances.storeTo(&quantities[1]);
  }
  sumQueue.empty();
  luminanceQueue.empty();
}

#else
bool canCount(const PictureSize&) {
  return false;
}
void countCoarsely(const PictureSize&, const unsigned char*, int, CoarseHistogram*) {}
void countInBrackets(const PictureSize&, const unsigned char*, QuantityCounts*) {}
#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro {
namespace {
HWY_EXPORT(canCount);
HWY_EXPORT(countCoarsely);
HWY_EXPORT(countInBrackets);
}  // namespace

namespace vectors {

bool canCount(const PictureSize& size) {
  return HWY_DYNAMIC_DISPATCH(canCount)(size);
}

void countCoarsely(const PictureSize& size, const unsigned char* picture, int stride, CoarseHistogram* histograms) {
  HWY_DYNAMIC_DISPATCH(countCoarsely)(size, picture, stride, histograms);
}

void countInBrackets(const PictureSize& size, const unsigned char* picture, QuantityCounts* quantities) {
  HWY_DYNAMIC_DISPATCH(countInBrackets)(size, picture, quantities);
}

}  // namespace vectors
}  // namespace veskaro
#endif  // HWY_ONCE
