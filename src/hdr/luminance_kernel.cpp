// The luminance stage in vectors, compiled once for every instruction set.
#include "hdr/luminance_kernel.h"

#include <algorithm>
#include <cmath>

#include "VeskaroNRLib.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/luminance_kernel.cpp"
#include <hwy/foreach_target.h>

#include "hdr/detail_stream-inl.h"
#include "hdr/log_exp-inl.h"
#include "hdr/quick_colour-inl.h"
#include "hdr/rgbe-inl.h"
#include "hdr/ybr-inl.h"
#include "simd/vector_list.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
using simd::VectorList;
#if VESKARO_HAS_VECTORS

namespace {

constexpr int kStripColumns = 2048;

// The curve of a level for smoothed values and thresholds at the level's scale.
ThresholdCurve scaledCurve(const LuminanceJob& job, int level) {
  ThresholdCurve curve(job, level);
  for (float* value :
       {&curve.shadowsEnd, &curve.midEnd, &curve.zeroAbove, &curve.shadows, &curve.midOffset, &curve.highOffset}) {
    *value *= scaleOfLevel(level);
  }
  return curve;
}

struct ScaledCurves {
  explicit ScaledCurves(const LuminanceJob& job)
      : of{scaledCurve(job, 0), scaledCurve(job, 1), scaledCurve(job, 2), scaledCurve(job, 3), scaledCurve(job, 4)} {}
  ThresholdCurve of[kDetailLevels];
};

// A row of new luminances and their logarithms, and room for a list of its vectors.
struct RowScratch {
  float* logs;
  float* luminances;
  std::int32_t* list;
};

// With one threshold, not negative, in the shadows and 0 elsewhere.
struct ShadowsShrink {
  static constexpr bool kMovesMostPixels = false;

  HWY_INLINE V operator()(int level, V detail, V smooth) const {
    const Floats d;
    const ThresholdCurve& c = curves.of[level];
    const V threshold = hn::IfThenElseZero(hn::Lt(smooth, hn::Set(d, c.shadowsEnd)), hn::Set(d, c.shadows));
    return hn::Sub(detail, within(detail, threshold));
  }
  const ScaledCurves& curves;
};

HWY_NOINLINE void addUpRow(const DetailRows& rows, int columns, const ShadowsShrink& shrink,
                           const RowScratch& scratch) {
  const Floats d;
  for (int x = 0; x < columns; x += lanes()) hn::Store(addUp(rows, x, shrink), d, scratch.logs + x);
}

// With the whole curve. The threshold may be negative, so both tests are made, in their order. kHasStep: the curve
// falls to 0 at zeroAbove, as an upper line without width has it.
template <bool kHasStep>
struct CurveShrink {
  static constexpr bool kMovesMostPixels = true;

  HWY_INLINE V operator()(int level, V detail, V smooth) const {
    const V threshold = thresholdAt(level, smooth);
    const V above = hn::IfThenElseZero(hn::Gt(detail, threshold), hn::Sub(detail, threshold));
    return hn::IfThenElse(hn::Gt(hn::Neg(threshold), detail), hn::Add(detail, threshold), above);
  }

  HWY_INLINE V thresholdAt(int level, V smooth) const {
    const Floats d;
    const ThresholdCurve& c = curves.of[level];
    const auto either = [&](Mask choice, float yes, float no)
                            HWY_ATTR { return hn::IfThenElse(choice, hn::Set(d, yes), hn::Set(d, no)); };
    const Mask mid = hn::Lt(smooth, hn::Set(d, c.midEnd));
    const V line =
        hn::Add(hn::Mul(either(mid, c.midSlope, c.highSlope), smooth), either(mid, c.midOffset, c.highOffset));
    const V upper = kHasStep ? hn::IfThenZeroElse(hn::Gt(smooth, hn::Set(d, c.zeroAbove)), line) : line;
    return hn::IfThenElse(hn::Lt(smooth, hn::Set(d, c.shadowsEnd)), hn::Set(d, c.shadows), upper);
  }
  const ScaledCurves& curves;
};

// Few pixels are so bright that a threshold is negative: the sum is made as if none were, and once more where one is.
template <bool kHasStep>
HWY_NOINLINE void addUpRow(const DetailRows& rows, int columns, const CurveShrink<kHasStep>& shrink,
                           const RowScratch& scratch) {
  const Floats d;
  const Ints di;
  VectorList negative(scratch.list);
  for (int x = 0; x < columns; x += lanes()) {
    VI signs = hn::Zero(di);
    const V sum = addUp(rows, x, [&](int level, V detail, V smooth) VESKARO_INLINE_LAMBDA {
      const V threshold = shrink.thresholdAt(level, smooth);
      signs = hn::Or(signs, bitsOf(threshold));
      return hn::Sub(detail, within(detail, threshold));
    });
    hn::Store(sum, d, scratch.logs + x);
    negative.addIf(anyNegative(signs), x);
  }
  for (int x : negative) hn::Store(addUp(rows, x, shrink), d, scratch.logs + x);
}

// Whether every number of a level's curve is far from the ends of the float range, so that scaling it is exact.
bool isOrdinary(const ThresholdCurve& c) {
  const auto moderate = [](float v) { return v == 0.0f || (std::abs(v) > 1e-25f && std::abs(v) < 1e25f); };
  return moderate(c.shadowsEnd) && moderate(c.midEnd) && moderate(c.shadows) && moderate(c.midSlope) &&
         moderate(c.midOffset) && moderate(c.highSlope) && moderate(c.highOffset);
}

bool areOrdinary(const LuminanceJob& job) {
  if (job.size.width < kNarrowest) return false;
  for (int level = 0; level < kDetailLevels; ++level) {
    if (!isOrdinary(ThresholdCurve(job, level))) return false;
  }
  return true;
}

// Black counts as 1, whose logarithm comes out as 0.
HWY_INLINE V luminanceOrOne(const VPixels& p) {
  const Floats d;
  const V y = hn::Mul(luminance(mantissas(p)), scaleOf(p));
  return hn::IfThenElse(hn::Gt(y, hn::Zero(d)), y, hn::Set(d, 1.0f));
}

HWY_INLINE VRgb withLuminance(const VPixels& p, V logLuma) {
  const WidenedRgb c = widenMantissas(p);
  const V scale = scaleOf(p);
  return toRgb(expOf(logLuma), hn::Mul(cbOf(c), scale), hn::Mul(crOf(c), scale));
}

class LuminanceRunner {
 public:
  LuminanceRunner(const LuminanceJob& job, Arena* arena)
      : job_(job), curves_(job), plan_(job.size.width, kStripColumns) {
    const int columns = plan_.widestRow();
    rings_ = DetailRings(arena, columns, kKeptLevels);
    scratch_ = {arena->take(columns), arena->take(columns),
                reinterpret_cast<std::int32_t*>(arena->take(VectorList::room(columns)))};
  }

  void run() const {
    const bool isShadowsOnly = !job_.includeMidTones && curves_.of[0].shadows >= 0.0f;
    for (int n = 0; n < plan_.count(); ++n) {
      if (isShadowsOnly) {
        runStrip(plan_.strip(n), ShadowsShrink{curves_});
      } else if (std::isinf(curves_.of[0].zeroAbove)) {
        runStrip(plan_.strip(n), CurveShrink<false>{curves_});
      } else {
        runStrip(plan_.strip(n), CurveShrink<true>{curves_});
      }
    }
  }

 private:
  template <class Shrink>
  void runStrip(const Strip& strip, const Shrink& shrink) const {
    const auto makeRow = [&](int y) { makeLogs(strip, y); };
    DetailStream<1, decltype(makeRow)> stream(&rings_, job_.size.height, strip, makeRow);
    for (int y = 0; y < job_.size.height; ++y) {
      if (y % kBandRows == 0) stream.makeBand(y);
      writeRow(strip, y, stream.rowsAt(0, y), shrink);
    }
  }

  // Here and in writeRow, several short loops over a row rather than a long one: the processor overlaps the steps of
  // more vectors. What needs another form is noted and made again afterwards, so that no branch has to guess.
  void makeLogs(const Strip& strip, int y) const {
    float* const to = rings_.base.at(y);
    const VectorList odd = makeLuminances(strip, y, to);
    takeLogs(to, strip.columns());
    const ConstRgbeRow row = rowOf(job_.in, job_.size.width, y);
    for (int i : odd) {
      for (int k = i; k < i + lanes(); ++k) to[k - strip.rowStart] = logLuminance(decode(row, k, table_));
    }
  }

  // Returns the vectors with pixels for the plain form.
  HWY_NOINLINE VectorList makeLuminances(const Strip& strip, int y, float* to) const {
    const ConstRgbeRow row = rowOf(job_.in, job_.size.width, y);
    const ConstRgbeRow next = rowOf(job_.in, job_.size.width, std::min(y + 1, job_.size.height - 1));
    VectorList odd(scratch_.list);
    forEachVector(strip.rowStart, strip.rowEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const VPixels p = loadPixels(row, i);
      prefetchPixels(next, i);
      hn::StoreU(luminanceOrOne(p), Floats(), to + (i - strip.rowStart));
      odd.addIf(!areOrdinary(p), i);
    });
    return odd;
  }

  static HWY_NOINLINE void takeLogs(float* row, int columns) {
    const Floats d;
    for (int x = 0; x < columns; x += lanes()) hn::Store(logOf(hn::Load(d, row + x)), d, row + x);
  }

  template <class Shrink>
  void writeRow(const Strip& strip, int y, const DetailRows& rows, const Shrink& shrink) const {
    const int columns = strip.xEnd - strip.xStart;
    addUpRow(rows, columns, shrink, scratch_);
    if (Shrink::kMovesMostPixels) {
      takeNearExps(columns);
      for (int i : writeNearly(strip, y)) writeVector(strip, y, i);
    } else {
      forEachVector(strip.xStart, strip.xEnd, [&](int i) VESKARO_INLINE_LAMBDA { writeVector(strip, y, i); });
    }
  }

  HWY_NOINLINE void takeNearExps(int columns) const {
    const Floats d;
    for (int x = 0; x < columns; x += lanes()) {
      hn::Store(nearlyLuminance(hn::Load(d, scratch_.logs + x)), d, scratch_.luminances + x);
    }
  }

  // Returns the vectors with pixels in doubt.
  HWY_NOINLINE VectorList writeNearly(const Strip& strip, int y) const {
    const Floats d;
    const ConstRgbeRow in = rowOf(job_.in, job_.size.width, y);
    const RgbeRow out = rowOf(job_.out, job_.size.width, y);
    VectorList inDoubt(scratch_.list);
    forEachTwoVectors(strip.xStart, strip.xEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const int j = i + lanes();
      const float* const luminances = scratch_.luminances + (i - strip.xStart);
      const NearlyPixels first = nearlyWithLuminance(loadPixels(in, i), hn::LoadU(d, luminances));
      const NearlyPixels second = nearlyWithLuminance(loadPixels(in, j), hn::LoadU(d, luminances + lanes()));
      storeTwo(first, second, out, i);
      inDoubt.addIf(anyNegative(first.doubt), i);
      inDoubt.addIf(anyNegative(second.doubt), j);
    });
    return inDoubt;
  }

  HWY_INLINE void writeVector(const Strip& strip, int y, int i) const {
    const Floats d;
    const ConstRgbeRow in = rowOf(job_.in, job_.size.width, y);
    const RgbeRow out = rowOf(job_.out, job_.size.width, y);
    const float* const logs = scratch_.logs + (i - strip.xStart);
    const VPixels p = loadPixels(in, i);
    const V logLuma = hn::LoadU(d, logs);
    if (HWY_LIKELY(areOrdinary(p) && hn::AllTrue(d, isModerate(logLuma)))) {
      storePixels(withLuminance(p, logLuma), out, i);
    } else {
      for (int k = 0; k < lanes(); ++k) writePixel(table_, in, i + k, logs[k], out);
    }
  }

  const LuminanceJob& job_;
  const ExponentTable table_;
  const ScaledCurves curves_;
  const StripPlan plan_;
  DetailRings rings_;
  RowScratch scratch_;
};

}  // namespace

int denoiseLuminance(const LuminanceJob& job) {
  if (!areOrdinary(job)) return vectors::kNotTaken;
  const bool done = runWithScratch([&job](Arena* arena) { return LuminanceRunner(job, arena); });
  return done ? job.size.height : NR_ERROR_MEMORY;
}

#else
int denoiseLuminance(const LuminanceJob&) {
  return false;
}
#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro {
namespace {
HWY_EXPORT(denoiseLuminance);
}  // namespace

namespace vectors {

int denoiseLuminance(const LuminanceJob& job) {
  return HWY_DYNAMIC_DISPATCH(denoiseLuminance)(job);
}

}  // namespace vectors
}  // namespace veskaro
#endif  // HWY_ONCE
