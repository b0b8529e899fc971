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

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

namespace {

constexpr int kStripColumns = 2048;

// Beyond these the exponential, or the colour rebuilt from it, may leave the range of ordinary pixels.
constexpr float kLargestLog = 80.0f;

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

// With the whole curve. The threshold may be negative, so both tests are made, in their order. kHasStep: the curve
// falls to 0 at zeroAbove, as an upper line without width has it.
template <bool kHasStep>
struct CurveShrink {
  static constexpr bool kMovesMostPixels = true;
  HWY_INLINE V operator()(int level, V detail, V smooth) const {
    const V threshold = thresholdAt(curves.of[level], smooth);
    const V above = hn::IfThenElseZero(hn::Gt(detail, threshold), hn::Sub(detail, threshold));
    return hn::IfThenElse(hn::Gt(hn::Neg(threshold), detail), hn::Add(detail, threshold), above);
  }

  static HWY_INLINE V thresholdAt(const ThresholdCurve& c, V smooth) {
    const Floats d;
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
HWY_INLINE V logLuminance(const VPixels& p) {
  const Floats d;
  const V y = hn::Mul(luminance(mantissas(p)), scaleOf(p));
  return logOf(hn::IfThenElse(hn::Gt(y, hn::Zero(d)), y, hn::Set(d, 1.0f)));
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
    rings_ = DetailRings(arena, plan_.widestRow(), kKeptLevels);
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

  void makeLogs(const Strip& strip, int y) const {
    const ConstRgbeRow row = rowOf(job_.in, job_.size.width, y);
    const ConstRgbeRow next = rowOf(job_.in, job_.size.width, std::min(y + 1, job_.size.height - 1));
    float* const to = rings_.base.at(y);
    forEachVector(strip.rowStart, strip.rowEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const VPixels p = loadPixels(row, i);
      prefetchPixels(next, i);
      float* const x = to + (i - strip.rowStart);
      if (HWY_LIKELY(areOrdinary(p))) {
        hn::StoreU(HWY_NAMESPACE::logLuminance(p), Floats(), x);
      } else {
        for (int k = 0; k < lanes(); ++k) x[k] = veskaro::logLuminance(decode(row, i + k, table_));
      }
    });
  }

  template <class Shrink>
  void writeRow(const Strip& strip, int y, const DetailRows& rows, const Shrink& shrink) const {
    const Floats d;
    const ConstRgbeRow in = rowOf(job_.in, job_.size.width, y);
    const RgbeRow out = rowOf(job_.out, job_.size.width, y);
    forEachVector(strip.xStart, strip.xEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const VPixels p = loadPixels(in, i);
      const V logLuma = addUp(rows, i - strip.xStart, shrink);
      if (HWY_LIKELY(areOrdinary(p) && hn::AllTrue(d, hn::Le(hn::Abs(logLuma), hn::Set(d, kLargestLog))))) {
        if (Shrink::kMovesMostPixels && storeWhereSettled(p, logLuma, out, i)) return;
        storePixels(withLuminance(p, logLuma), out, i);
      } else {
        alignas(64) float lane[HWY_LANES(float)];
        hn::Store(logLuma, d, lane);
        for (int k = 0; k < lanes(); ++k) writePixel(table_, in, i + k, lane[k], out);
      }
    });
  }

  const LuminanceJob& job_;
  const ExponentTable table_;
  const ScaledCurves curves_;
  const StripPlan plan_;
  DetailRings rings_;
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
