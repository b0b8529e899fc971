// The luminance stage in vectors, compiled once for every instruction set.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "hdr/luminance/luminance_forms.h"
#include "hdr/luminance/threshold_curve.h"
#include "hdr/rgbe/ybr.h"
#include "simd/vector_list.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/luminance/luminance_vectors.cpp"
#include <hwy/foreach_target.h>

#include "hdr/detail/detail_levels_vectors-inl.h"
#include "hdr/luminance/log_exp_vectors-inl.h"
#include "hdr/luminance/quick_colour_vectors-inl.h"
#include "hdr/rgbe/rgbe_vectors-inl.h"
#include "hdr/rgbe/ybr_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

namespace {

using simd::VectorList;

// The curve of a level for smoothed values and thresholds at the level's scale.
ThresholdCurve scaledCurve(const LuminanceSettings& settings, int level) {
  ThresholdCurve curve(settings, level);
  for (float* value :
       {&curve.shadowsEnd, &curve.midEnd, &curve.zeroAbove, &curve.shadows, &curve.midOffset, &curve.highOffset}) {
    *value *= scaleOfLevel(level);
  }
  return curve;
}

struct ScaledCurves {
  explicit ScaledCurves(const LuminanceSettings& s)
      : of{scaledCurve(s, 0), scaledCurve(s, 1), scaledCurve(s, 2), scaledCurve(s, 3), scaledCurve(s, 4)} {}
  ThresholdCurve of[kDetailLevels];
};

struct LuminanceScratch {
  LuminanceScratch(simd::Arena* arena, const StripPlan& plan) {
    const int columns = plan.widestRow();
    rings = DetailRings(arena, columns, kKeptLevels);
    for (float** row : {&logs, &luminances}) *row = arena->take(columns);
    for (std::int32_t** list : {&withUnsafeExponents, &withNegativeThresholds, &inDoubt}) {
      *list = reinterpret_cast<std::int32_t*>(arena->take(VectorList::room(columns)));
    }
  }

  DetailRings rings;
  float* logs;  // a row of new luminances and their logarithms
  float* luminances;
  std::int32_t* withUnsafeExponents;  // room for lists of a row's vectors
  std::int32_t* withNegativeThresholds;
  std::int32_t* inDoubt;
};

// With one threshold, not negative, in the shadows and 0 elsewhere.
struct ShadowsShrink {
  static constexpr bool kMovesMostPixels = false;

  HWY_INLINE V operator()(int level, V detail, V smooth) const {
    const Floats d;
    const ThresholdCurve& c = curves.of[level];
    const V threshold = hn::IfThenElseZero(hn::Lt(smooth, hn::Set(d, c.shadowsEnd)), hn::Set(d, c.shadows));
    return softThresholdNotNegative(detail, threshold);
  }
  const ScaledCurves& curves;
};

HWY_NOINLINE void addUpRow(const DetailRows& rows, int columns, const ShadowsShrink& shrink,
                           const LuminanceScratch& scratch) {
  const Floats d;
  for (int x = 0; x < columns; x += lanes()) hn::Store(addUp(rows, x, shrink), d, scratch.logs + x);
}

// With the whole curve, whose thresholds may be negative. kHasStep: the curve falls to 0 at zeroAbove, as an upper line
// without width has it.
template <bool kHasStep>
struct CurveShrink {
  static constexpr bool kMovesMostPixels = true;

  HWY_INLINE V operator()(int level, V detail, V smooth) const {
    return softThreshold(detail, thresholdAt(level, smooth));
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
                           const LuminanceScratch& scratch) {
  const Floats d;
  const Ints di;
  VectorList negative(scratch.withNegativeThresholds);
  for (int x = 0; x < columns; x += lanes()) {
    VI signs = hn::Zero(di);
    const V sum = addUp(rows, x, [&](int level, V detail, V smooth) VESKARO_INLINE_LAMBDA {
      const V threshold = shrink.thresholdAt(level, smooth);
      signs = hn::Or(signs, bitsOf(threshold));
      return softThresholdNotNegative(detail, threshold);
    });
    hn::Store(sum, d, scratch.logs + x);
    negative.addIf(anyNegative(signs), x);
  }
  for (int x : negative) hn::Store(addUp(rows, x, shrink), d, scratch.logs + x);
}

// Whether every number of the curves is far from the ends of the float range, so that scaling it is exact.
bool scalesExactly(const LuminanceSettings& settings) {
  const auto isMidRange = [](float v) { return v == 0.0f || (std::abs(v) > 1e-25f && std::abs(v) < 1e25f); };
  for (int level = 0; level < kDetailLevels; ++level) {
    const ThresholdCurve c(settings, level);
    for (float v : {c.shadowsEnd, c.midEnd, c.shadows, c.midSlope, c.midOffset, c.highSlope, c.highOffset}) {
      if (!isMidRange(v)) return false;
    }
  }
  return true;
}

HWY_INLINE VectorRgb withLuminance(const VectorPixels& p, V logLuma) {
  const WidenedRgb c = widenMantissas(p);
  const V scale = scaleOf(p);
  return toRgb(expOf(logLuma), hn::Mul(cbOf(c), scale), hn::Mul(crOf(c), scale));
}

class LuminanceStage {
 public:
  using Scratch = LuminanceScratch;

  LuminanceStage(const LuminanceJob& job, const StripPlan& plan, const LuminanceScratch& scratch)
      : job_(job), curves_(job.settings), plan_(plan), scratch_(scratch) {}

  void run() const {
    const bool isShadowsOnly = !job_.settings.includeMidTones && curves_.of[0].shadows >= 0.0f;
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
  void runStrip(const DetailStrip& strip, const Shrink& shrink) const {
    const auto makeRow = [&](int y) { makeLogs(strip, y); };
    const StripLevels<1, decltype(makeRow)> plane(&scratch_.rings, height(), strip, makeRow);
    plane.forEachRow([&](int y) { writeRow(strip, y, plane.rowsAt(0, y), shrink); });
  }

  // Here and in writeRow, several short loops over a row rather than a long one: the processor overlaps the steps of
  // more vectors. What needs another form is noted and made again afterwards, so that no branch has to guess.
  void makeLogs(const DetailStrip& strip, int y) const {
    float* const to = scratch_.rings.base.at(y);
    const VectorList unsafe = makeLuminances(strip, y, to);
    takeLogs(to, strip.columns());
    const ConstRgbeRow row = job_.in.row(y);
    for (int i : unsafe) {
      for (int k = i; k < i + lanes(); ++k) to[k - strip.rowStart] = logLuminance(decode(row, k, table_));
    }
  }

  // Returns the vectors with exponents that only the plain form takes.
  HWY_NOINLINE VectorList makeLuminances(const DetailStrip& strip, int y, float* to) const {
    const ConstRgbeRow row = job_.in.row(y);
    const ConstRgbeRow next = job_.in.row(std::min(y + 1, height() - 1));
    VectorList unsafe(scratch_.withUnsafeExponents);
    forEachVector(strip.rowStart, strip.rowEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const VectorPixels p = loadPixels(row, i);
      prefetchPixels(next, i);
      hn::StoreU(orOne(hn::Mul(luminance(mantissas(p)), scaleOf(p))), Floats(), to + (i - strip.rowStart));
      unsafe.addIf(!exponentsAreSafe(p), i);
    });
    return unsafe;
  }

  static HWY_NOINLINE void takeLogs(float* row, int columns) {
    const Floats d;
    for (int x = 0; x < columns; x += lanes()) hn::Store(logOf(hn::Load(d, row + x)), d, row + x);
  }

  template <class Shrink>
  void writeRow(const DetailStrip& strip, int y, const DetailRows& rows, const Shrink& shrink) const {
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
  HWY_NOINLINE VectorList writeNearly(const DetailStrip& strip, int y) const {
    const Floats d;
    const ConstRgbeRow in = job_.in.row(y);
    const RgbeRow out = job_.out.row(y);
    VectorList inDoubt(scratch_.inDoubt);
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

  HWY_INLINE void writeVector(const DetailStrip& strip, int y, int i) const {
    const Floats d;
    const ConstRgbeRow in = job_.in.row(y);
    const RgbeRow out = job_.out.row(y);
    const float* const logs = scratch_.logs + (i - strip.xStart);
    const VectorPixels p = loadPixels(in, i);
    const V logLuma = hn::LoadU(d, logs);
    if (HWY_LIKELY(exponentsAreSafe(p) && hn::AllTrue(d, isModerate(logLuma)))) {
      encode(withLuminance(p, logLuma), out, i);
    } else {
      for (int k = 0; k < lanes(); ++k) plain::writePixel(table_, in, i + k, logs[k], out);
    }
  }

  int height() const { return job_.in.size.height; }

  const LuminanceJob& job_;
  const ExponentTable table_;
  const ScaledCurves curves_;
  const StripPlan& plan_;
  const LuminanceScratch& scratch_;
};

}  // namespace

simd::VectorResult denoiseLuminance(const LuminanceJob& job) {
  return scalesExactly(job.settings) ? runOnStrips<LuminanceStage>(job) : simd::VectorResult::kPlainFormNeeded;
}

#else
simd::VectorResult denoiseLuminance(const LuminanceJob&) {
  return simd::VectorResult::kPlainFormNeeded;
}
#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro::hdr {
HWY_EXPORT(denoiseLuminance);

simd::VectorResult vectors::denoiseLuminance(const LuminanceJob& job) {
  return HWY_DYNAMIC_DISPATCH(denoiseLuminance)(job);
}

}  // namespace veskaro::hdr
#endif  // HWY_ONCE
