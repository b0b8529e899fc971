// The chroma stage in vectors, compiled once for every instruction set.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "hdr/chroma/chroma_forms.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/chroma/chroma_vectors.cpp"
#include <hwy/foreach_target.h>

#include "hdr/detail/detail_levels_vectors-inl.h"
#include "hdr/rgbe/rgbe_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

namespace {

HWY_INLINE V colourSum(const VectorRgb& c) {
  return hn::Add(hn::Add(c.g, c.r), c.b);
}

// The exponent cancels out of a ratio: the mantissas' ratio has the same bits.
HWY_INLINE VectorRgb chromaticity(const VectorPixels& p) {
  const Floats d;
  const Ints di;
  const VectorRgb m = mantissas(p);
  const V sum = colourSum(m);
  const auto coloured = hn::And(hn::Gt(sum, hn::Zero(d)), hn::RebindMask(d, hn::Gt(p.e, hn::Zero(di))));
  return times(m, hn::IfThenElseZero(coloured, hn::Div(hn::Set(d, 1.0f), sum)));
}

// Shrinks details at the level's scale.
struct ChromaShrink {
  explicit ChromaShrink(const ChromaSettings& settings) {
    for (int level = 0; level < kDetailLevels; ++level) {
      threshold[level] = chromaThreshold(settings, level) * scaleOfLevel(level);
    }
  }
  HWY_INLINE V operator()(int level, V detail, V /*smooth*/) const {
    return softThresholdNotNegative(detail, hn::Set(Floats(), threshold[level]));
  }
  float threshold[kDetailLevels];
};

HWY_INLINE V blend(V own, V smoothed, V weight) {
  const Doubles dd;
  const VD one = hn::Set(dd, 1.0);
  const Widened o = widen(own), w = widen(weight), s = widen(hn::Mul(smoothed, weight));
  return narrow(hn::Add(hn::Mul(o.low, hn::Sub(one, w.low)), s.low),
                hn::Add(hn::Mul(o.high, hn::Sub(one, w.high)), s.high));
}

template <bool kFade>
HWY_INLINE VectorRgb faded(const ChromaLevels& levels, V sum, const VectorRgb& own, const VectorRgb& smoothed) {
  if (!kFade) return own;
  const Floats d;
  const V saturation = hn::Set(d, levels.saturation);
  const Mask fading = hn::Lt(sum, saturation);
  if (hn::AllFalse(d, fading)) return own;
  const V weight = hn::Mul(hn::Sub(saturation, sum), hn::Set(d, levels.slope));
  return choose(fading,
                {blend(own.r, smoothed.r, weight), blend(own.g, smoothed.g, weight), blend(own.b, smoothed.b, weight)},
                own);
}

// smoothedRatio() is asked for only where a pixel wants it: the bright ones keep their colour.
template <bool kFade, class SmoothedRatio>
HWY_INLINE VectorRgb rebuiltColour(const ChromaLevels& levels, const VectorRgb& own,
                                   const SmoothedRatio& smoothedRatio) {
  const Floats d;
  const V sum = colourSum(own);
  const Mask dark = hn::Lt(sum, hn::Set(d, levels.shadows));
  const V highest = hn::Set(d, kFade ? std::max(levels.shadows, levels.saturation) : levels.shadows);
  if (hn::AllFalse(d, hn::Lt(sum, highest))) return own;
  const VectorRgb smoothed = times(smoothedRatio(), sum);
  if (hn::AllTrue(d, dark)) return smoothed;
  return choose(dark, smoothed, faded<kFade>(levels, sum, own, smoothed));
}

struct ChromaScratch {
  ChromaScratch(simd::Arena* arena, const StripPlan& plan)
      : rowInPlace(reinterpret_cast<unsigned char*>(arena->take(plan.width()))) {
    for (DetailRings& ratio : ratios) ratio = DetailRings(arena, plan.widestRow(), kKeptLevels);
  }

  unsigned char* rowInPlace;  // a row of pixels
  DetailRings ratios[3];
};

class ChromaStage {
 public:
  using Scratch = ChromaScratch;

  ChromaStage(const ChromaJob& job, const StripPlan& plan, const ChromaScratch& scratch)
      : job_(job), shrink_(job.settings), levels_(job.settings), plan_(plan), scratch_(scratch) {}

  void run() const {
    for (int n = 0; n < plan_.count(); ++n) {
      if (levels_.fade) {
        runStrip<true>(plan_.strip(n));
      } else {
        runStrip<false>(plan_.strip(n));
      }
    }
    if (job_.isInPlace) putWaitingColumns();
  }

 private:
  template <bool kFade>
  void runStrip(const DetailStrip& strip) const {
    const auto makeRow = [&](int y) { makeRatios(strip, y); };
    const StripLevels<3, decltype(makeRow)> planes(scratch_.ratios, height(), strip, makeRow);
    planes.forEachRow([&](int y) {
      const DetailRows red = planes.rowsAt(0, y), green = planes.rowsAt(1, y), blue = planes.rowsAt(2, y);
      writeRow<kFade>(strip, y, [&](int x) VESKARO_INLINE_LAMBDA -> VectorRgb {
        return {addUp(red, x, shrink_), addUp(green, x, shrink_), addUp(blue, x, shrink_)};
      });
    });
  }

  void makeRatios(const DetailStrip& strip, int y) const {
    const ConstRgbeRow row = job_.in.row(y);
    const ConstRgbeRow next = job_.in.row(std::min(y + 1, height() - 1));
    const simd::Rows to = {
        {scratch_.ratios[0].base.at(y), scratch_.ratios[1].base.at(y), scratch_.ratios[2].base.at(y)}};
    forEachVector(strip.rowStart, strip.rowEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const VectorPixels p = loadPixels(row, i);
      prefetchPixels(next, i);
      const int x = i - strip.rowStart;
      if (HWY_LIKELY(exponentsAreSafe(p))) {
        storeRgb(chromaticity(p), to, x);
      } else {
        makeRatiosOneByOne(row, i, to + x);
      }
    });
  }

  void makeRatiosOneByOne(const ConstRgbeRow& row, int i, const simd::Rows& to) const {
    for (int k = 0; k < lanes(); ++k) {
      const Rgb ratio = plain::chromaticity(decode(row, i + k, table_));
      to.plane[0][k] = ratio.r;
      to.plane[1][k] = ratio.g;
      to.plane[2][k] = ratio.b;
    }
  }

  // smoothedRatio(x): that of the vector of pixels x columns into the strip.
  template <bool kFade, class SmoothedRatio>
  HWY_INLINE void writeRow(const DetailStrip& strip, int y, const SmoothedRatio& smoothedRatio) const {
    const ConstRgbeRow in = job_.in.row(y);
    const RgbeRow out = job_.isInPlace ? rowInPlace() : job_.out.row(y);
    forEachVector(strip.xStart, strip.xEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const VectorPixels p = loadPixels(in, i);
      const int x = i - strip.xStart;
      if (HWY_LIKELY(exponentsAreSafe(p))) {
        encode(HWY_NAMESPACE::rebuiltColour<kFade>(levels_, decode(p),
                                                   [&]() VESKARO_INLINE_LAMBDA { return smoothedRatio(x); }),
               out, i);
      } else {
        writeOneByOne(in, i, smoothedRatio(x), out);
      }
    });
    if (job_.isInPlace) putRow(strip, y);
  }

  void writeOneByOne(const ConstRgbeRow& in, int i, const VectorRgb& smoothedRatio, const RgbeRow& out) const {
    alignas(64) float r[HWY_LANES(float)], g[HWY_LANES(float)], b[HWY_LANES(float)];
    storeRgb(smoothedRatio, {{r, g, b}}, 0);
    for (int k = 0; k < lanes(); ++k) plain::writePixel(levels_, table_, in, i + k, {r[k], g[k], b[k]}, out);
  }

  // In place, vectors that overlap must not read what they have written: a row is made apart.
  RgbeRow rowInPlace() const { return Picture{{job_.in.size.width, 1}, scratch_.rowInPlace}.row(0); }

  // The last columns of a strip wait in the spare picture, for the next strip still reads those of the input.
  void putRow(const DetailStrip& strip, int y) const {
    const int waiting = strip.xEnd == job_.in.size.width ? strip.xEnd : strip.xEnd - kDetailMargin;
    copyColumns(rowInPlace(), job_.out.row(y), strip.xStart, waiting);
    copyColumns(rowInPlace(), job_.spare.row(y), waiting, strip.xEnd);
  }

  void putWaitingColumns() const {
    for (int n = 0; n + 1 < plan_.count(); ++n) {
      const int end = plan_.strip(n).xEnd;
      for (int y = 0; y < height(); ++y) copyColumns(job_.spare.row(y), job_.out.row(y), end - kDetailMargin, end);
    }
  }

  static void copyColumns(const RgbeRow& from, const RgbeRow& to, int start, int end) {
    const std::size_t bytes = static_cast<std::size_t>(end - start);
    std::memcpy(to.r + start, from.r + start, bytes);
    std::memcpy(to.g + start, from.g + start, bytes);
    std::memcpy(to.b + start, from.b + start, bytes);
    std::memcpy(to.e + start, from.e + start, bytes);
  }

  int height() const { return job_.in.size.height; }

  const ChromaJob& job_;
  const ExponentTable table_;
  const ChromaShrink shrink_;
  const ChromaLevels levels_;
  const StripPlan& plan_;
  const ChromaScratch& scratch_;
};

// Details of a chromaticity stay below 1, so that with thresholds of any use nothing leaves the float range.
bool staysInFloatRange(const ChromaSettings& s) {
  if (!(s.thresholdScale >= 0.0f && s.thresholdScale <= 1e6f)) return false;
  return !s.fadeIntoMidTones || s.saturationLevel <= s.shadowsLevel || std::isnormal(ChromaLevels(s).slope);
}

}  // namespace

simd::VectorResult denoiseChroma(const ChromaJob& job) {
  return staysInFloatRange(job.settings) ? runOnStrips<ChromaStage>(job) : simd::VectorResult::kPlainFormNeeded;
}

#else
simd::VectorResult denoiseChroma(const ChromaJob&) {
  return simd::VectorResult::kPlainFormNeeded;
}
#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro::hdr {
HWY_EXPORT(denoiseChroma);

simd::VectorResult vectors::denoiseChroma(const ChromaJob& job) {
  return HWY_DYNAMIC_DISPATCH(denoiseChroma)(job);
}

}  // namespace veskaro::hdr
#endif  // HWY_ONCE
