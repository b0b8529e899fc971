// The counting passes in vectors, compiled once for every instruction set.
#include <algorithm>
#include <random>

#include "hdr/statistics/counting.h"
#include "simd/rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/statistics/counting_vectors.cpp"
#include <hwy/foreach_target.h>

#include "hdr/rgbe/rgbe_vectors-inl.h"
#include "hdr/rgbe/ybr.h"
#include "hdr/rgbe/ybr_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

namespace {

using simd::kMaxLanes;

// Bits of the colour sums and of the luminances of a vector of pixels.
struct Values {
  VI bits[kQuantities];
};

HWY_INLINE Values valuesOf(const VectorPixels& p) {
  const V scale = scaleOf(p);
  const VectorRgb m = mantissas(p);
  const V sum = hn::Add(hn::Add(m.b, m.g), m.r);
  return {{bitsOf(orOne(hn::Mul(sum, scale))), bitsOf(orOne(hn::Mul(luminance(m), scale)))}};
}

Values valuesOneByOne(const ConstRgbeRow& row, int i, const ExponentTable& table) {
  alignas(64) float sums[HWY_LANES(float)], luminances[HWY_LANES(float)];
  for (int k = 0; k < lanes(); ++k) {
    const Rgb colour = decode(row, i + k, table);
    sums[k] = (colour.b + colour.g) + colour.r;
    luminances[k] = hdr::luminance(colour);
  }
  return {{bitsOf(orOne(hn::Load(Floats(), sums))), bitsOf(orOne(hn::Load(Floats(), luminances)))}};
}

HWY_INLINE Values valuesOf(const ConstRgbeRow& row, int i, const ExponentTable& table) {
  const VectorPixels p = loadPixels(row, i);
  return HWY_LIKELY(exponentsAreSafe(p)) ? valuesOf(p) : valuesOneByOne(row, i, table);
}

// Values on their way into the cells of brackets: a vector adds what it has of them, and they are counted many at a
// time.
class BracketQueue {
 public:
  explicit BracketQueue(QuantityCounts* counts) : counts_(counts) {}

  // Has to come before so many values, up to kRoom, are looked at.
  void makeRoom(int values) {
    if (queued_ > kRoom - values) empty();
  }

  HWY_INLINE void add(VI bits, hn::Mask<Ints> chosen) { queued_ += storeChosen(bits, chosen, values_ + queued_); }

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

  static constexpr int kRoom = 2048;
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
    queue_.makeRoom(columns);
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

bool canCount(const PictureSize& size) {
  return size.width >= lanes();
}

void countCoarsely(const ConstPicture& picture, int stride, CoarseHistogram* histograms) {
  const Ints d;
  const ExponentTable table;
  SampleCursor ahead(picture.size, stride);
  const auto fetchNext = [&] {
    if (ahead.atEnd()) return;
    const ConstRgbeRow row = picture.row(ahead.row());
    prefetchPixels(row, ahead.column());
    ahead.advance();
  };
  constexpr int kAhead = 16;
  for (int n = 0; n < kAhead; ++n) fetchNext();
  for (SampleCursor here(picture.size, stride); !here.atEnd(); here.advance()) {
    fetchNext();
    const Values values = valuesOf(picture.row(here.row()), here.column(), table);
    for (int q = 0; q < kQuantities; ++q) {
      alignas(64) std::int32_t bins[HWY_LANES(float)];
      hn::Store(hn::ShiftRight<16>(values.bits[q]), d, bins);
      for (std::int32_t bin : bins) ++histograms[q].counts[bin];
    }
  }
}

void countInBrackets(const ConstPicture& picture, QuantityCounts* counts) {
  const ExponentTable table;
  QuantityLanes quantities[kQuantities] = {QuantityLanes(&counts[0]), QuantityLanes(&counts[1])};
  ValueRows values;
  for (int y = 0; y < picture.size.height; ++y) {
    const ConstRgbeRow row = picture.row(y);
    for (int start = 0; start < picture.size.width; start += ValueRows::kColumns) {
      values.measure(row, start, std::min(start + ValueRows::kColumns, picture.size.width), table, quantities);
    }
  }
  for (QuantityLanes& quantity : quantities) quantity.finish();
}

#else
bool canCount(const PictureSize&) {
  return false;
}
void countCoarsely(const ConstPicture&, int, CoarseHistogram*) {}
void countInBrackets(const ConstPicture&, QuantityCounts*) {}
#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro::hdr {
HWY_EXPORT(canCount);
HWY_EXPORT(countCoarsely);
HWY_EXPORT(countInBrackets);

bool vectors::canCount(const PictureSize& size) {
  return HWY_DYNAMIC_DISPATCH(canCount)(size);
}

void vectors::countCoarsely(const ConstPicture& picture, int stride, CoarseHistogram* histograms) {
  HWY_DYNAMIC_DISPATCH(countCoarsely)(picture, stride, histograms);
}

void vectors::countInBrackets(const ConstPicture& picture, QuantityCounts* quantities) {
  HWY_DYNAMIC_DISPATCH(countInBrackets)(picture, quantities);
}

}  // namespace veskaro::hdr
#endif  // HWY_ONCE
