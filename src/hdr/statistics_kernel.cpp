// Counting passes of the statistics in vectors, compiled once for every instruction set.
#include "hdr/statistics_kernel.h"

#include <algorithm>
#include <random>

#include "simd/rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/statistics_kernel.cpp"
#include <hwy/foreach_target.h>

#include "hdr/rgbe-inl.h"
#include "hdr/ybr-inl.h"
#include "hdr/ybr.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
using simd::kMaxLanes;
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

// What is known of one quantity while the picture goes by, lane by lane. No lane counts more than 2^31 / 4 pixels.
class QuantityLanes {
 public:
  explicit QuantityLanes(QuantityCounts* counts) : counts_(counts), queue_(counts) {
    const Ints d;
    hn::Store(hn::Set(d, INT32_MAX), d, smallest_);
    hn::Store(hn::Zero(d), d, largest_);
    for (auto& below : below_) hn::Store(hn::Zero(d), d, below);
  }

  // values: whole vectors of which the first columns lanes are pixels, the others beyond every bracket.
  HWY_NOINLINE void add(const std::int32_t* values, int columns) {
    const Ints d;
    const auto first = [&](int n) HWY_ATTR { return hn::Set(d, counts_->brackets[n].first); };
    const auto end = [&](int n) HWY_ATTR { return hn::Set(d, counts_->brackets[n].end()); };
    const VI first0 = first(0), first1 = first(1), first2 = first(2), end0 = end(0), end1 = end(1), end2 = end(2);
    VI below0 = hn::Load(d, below_[0]), below1 = hn::Load(d, below_[1]), below2 = hn::Load(d, below_[2]);
    const auto isInside = [d](VI bits, VI from, VI to, VI* below) VESKARO_INLINE_LAMBDA {
      const auto isBelow = hn::Lt(bits, from);
      *below = hn::Sub(*below, hn::VecFromMask(d, isBelow));  // a mask's lanes are 0 or -1
      return hn::AndNot(isBelow, hn::Lt(bits, to));
    };
    for (int x = 0; x < columns; x += lanes()) {
      const VI bits = hn::Load(d, values + x);
      queue_.add(bits, hn::Or(hn::Or(isInside(bits, first0, end0, &below0), isInside(bits, first1, end1, &below1)),
                              isInside(bits, first2, end2, &below2)));
    }
    hn::Store(below0, d, below_[0]);
    hn::Store(below1, d, below_[1]);
    hn::Store(below2, d, below_[2]);
  }

  void extend(VI smallest, VI largest) {
    const Ints d;
    hn::Store(hn::Min(smallest, hn::Load(d, smallest_)), d, smallest_);
    hn::Store(hn::Max(largest, hn::Load(d, largest_)), d, largest_);
  }

  void finish() {
    queue_.empty();
    for (int n = 0; n < kPercentiles; ++n) {
      for (std::int32_t count : below_[n]) counts_->brackets[n].below += static_cast<std::uint64_t>(count);
    }
    counts_->smallest = std::min(counts_->smallest, *std::min_element(smallest_, smallest_ + lanes()));
    counts_->largest = std::max(counts_->largest, *std::max_element(largest_, largest_ + lanes()));
  }

 private:
  QuantityCounts* const counts_;
  BracketQueue queue_;
  alignas(64) std::int32_t smallest_[HWY_LANES(float)];
  alignas(64) std::int32_t largest_[HWY_LANES(float)];
  alignas(64) std::int32_t below_[kPercentiles][HWY_LANES(float)];
};

// The values of a stretch of a row. Short loops, one after the other over the stretch, are faster than one long loop:
// the processor overlaps the steps of more vectors.
class ValueRows {
 public:
  static constexpr int kColumns = 1024;

  // Fills in columns [start, end) of a row, and adds them to quantities. The row holds a vector before end.
  HWY_NOINLINE void measure(const ConstRgbeRow& row, int start, int end, const ExponentTable& table,
                            QuantityLanes (&quantities)[kQuantities]) {
    const Ints d;
    VI smallest0 = hn::Set(d, INT32_MAX), smallest1 = smallest0;
    VI largest0 = hn::Zero(d), largest1 = largest0;
    forEachVector(start, end, [&](int i) VESKARO_INLINE_LAMBDA {
      const Values v = valuesOf(row, i, table);
      smallest0 = hn::Min(smallest0, v.bits[0]);
      largest0 = hn::Max(largest0, v.bits[0]);
      smallest1 = hn::Min(smallest1, v.bits[1]);
      largest1 = hn::Max(largest1, v.bits[1]);
      hn::StoreU(v.bits[0], d, rows_[0] + kMaxLanes + i - start);
      hn::StoreU(v.bits[1], d, rows_[1] + kMaxLanes + i - start);
    });
    quantities[0].extend(smallest0, largest0);
    quantities[1].extend(smallest1, largest1);
    for (int q = 0; q < kQuantities; ++q) {
      hn::StoreU(hn::Set(d, INT32_MAX), d, rows_[q] + kMaxLanes + end - start);
      quantities[q].add(rows_[q] + kMaxLanes, end - start);
    }
  }

 private:
  // Room for a vector before, where the last stretch is short, and one behind.
  alignas(64) std::int32_t rows_[kQuantities][kColumns + 2 * kMaxLanes];
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

void countInBrackets(const PictureSize& size, const unsigned char* picture, QuantityCounts* counts) {
  const ExponentTable table;
  QuantityLanes quantities[kQuantities] = {QuantityLanes(&counts[0]), QuantityLanes(&counts[1])};
  ValueRows values;
  for (int y = 0; y < size.height; ++y) {
    const ConstRgbeRow row = rowOf(picture, size.width, y);
    for (int start = 0; start < size.width; start += ValueRows::kColumns) {
      values.measure(row, start, std::min(start + ValueRows::kColumns, size.width), table, quantities);
    }
  }
  for (QuantityLanes& quantity : quantities) quantity.finish();
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
