// The chroma stage in vectors, compiled once for every instruction set.
#include "hdr/chroma_kernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "VeskaroNRLib.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/chroma_kernel.cpp"
#include <hwy/foreach_target.h>

#include "hdr/detail_stream-inl.h"
#include "hdr/rgbe-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

namespace {

constexpr int kStripColumns = 2048;

HWY_INLINE V colorSum(const VRgb& c) {
  return hn::Add(hn::Add(c.g, c.r), c.b);
}

// The exponent cancels out of a ratio: the mantissas' ratio has the same bits.
HWY_INLINE VRgb chromaticity(const VPixels& p) {
  const Floats d;
  const Ints di;
  const VRgb m = mantissas(p);
  const V sum = colorSum(m);
  const auto coloured = hn::And(hn::Gt(sum, hn::Zero(d)), hn::RebindMask(d, hn::Gt(p.e, hn::Zero(di))));
  return times(m, hn::IfThenElseZero(coloured, hn::Div(hn::Set(d, 1.0f), sum)));
}

// What is left of a detail is the detail less its part within the threshold.
struct ChromaShrink {
  explicit ChromaShrink(const ChromaJob& job) {
    for (int level = 0; level < kDetailLevels; ++level) {
      threshold[level] = noiseCoefficient(level) * job.thresholdScale * scaleOfLevel(level);
    }
  }
  HWY_INLINE V operator()(int level, V detail, V /*smooth*/) const {
    return hn::Sub(detail, within(detail, hn::Set(Floats(), threshold[level])));
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

struct ChromaLevels {
  explicit ChromaLevels(const ChromaJob& job)
      : shadows(job.shadowsLevel),
        saturation(job.satLevel),
        inverse(job.satLevel > job.shadowsLevel ? 1.0f / (job.satLevel - job.shadowsLevel) : 0.0f) {}
  float shadows, saturation, inverse;
};

template <bool kFadeIntoMidTones>
HWY_INLINE VRgb faded(const ChromaLevels& levels, V sum, const VRgb& own, const VRgb& smoothed) {
  if (!kFadeIntoMidTones) return own;
  const Floats d;
  const V saturation = hn::Set(d, levels.saturation);
  const Mask fading = hn::Lt(sum, saturation);
  if (hn::AllFalse(d, fading)) return own;
  const V weight = hn::Mul(hn::Sub(saturation, sum), hn::Set(d, levels.inverse));
  return {hn::IfThenElse(fading, blend(own.r, smoothed.r, weight), own.r),
          hn::IfThenElse(fading, blend(own.g, smoothed.g, weight), own.g),
          hn::IfThenElse(fading, blend(own.b, smoothed.b, weight), own.b)};
}

// smoothedRatio() is asked for only where a pixel wants it: the bright ones keep their colour.
template <bool kFadeIntoMidTones, class SmoothedRatio>
HWY_INLINE VRgb rebuiltColour(const ChromaLevels& levels, const VRgb& own, const SmoothedRatio& smoothedRatio) {
  const Floats d;
  const V sum = colorSum(own);
  const Mask dark = hn::Lt(sum, hn::Set(d, levels.shadows));
  const V highest = hn::Set(d, kFadeIntoMidTones ? std::max(levels.shadows, levels.saturation) : levels.shadows);
  if (hn::AllFalse(d, hn::Lt(sum, highest))) return own;
  const VRgb smoothed = times(smoothedRatio(), sum);
  if (hn::AllTrue(d, dark)) return smoothed;
  const VRgb rest = faded<kFadeIntoMidTones>(levels, sum, own, smoothed);
  return {hn::IfThenElse(dark, smoothed.r, rest.r), hn::IfThenElse(dark, smoothed.g, rest.g),
          hn::IfThenElse(dark, smoothed.b, rest.b)};
}

class ChromaRunner {
 public:
  ChromaRunner(const ChromaJob& job, Arena* arena)
      : job_(job), plan_(job.size.width, kStripColumns), line_(arena->take(job.size.width)) {
    for (DetailRings& plane : rings_) plane = DetailRings(arena, plan_.widestRow(), kKeptLevels);
  }

  void run() const {
    for (int n = 0; n < plan_.count(); ++n) {
      if (job_.fadeIntoMidTones) {
        runStrip<true>(plan_.strip(n));
      } else {
        runStrip<false>(plan_.strip(n));
      }
    }
    if (job_.inPlace) replaceKeptColumns();
  }

 private:
  template <bool kFadeIntoMidTones>
  void runStrip(const Strip& strip) const {
    const ChromaShrink shrink(job_);
    const ChromaLevels levels(job_);
    const auto makeRow = [&](int y) { makeRatios(strip, y); };
    DetailStream<3, decltype(makeRow)> stream(rings_, job_.size.height, strip, makeRow);
    for (int y = 0; y < job_.size.height; ++y) {
      if (y % kBandRows == 0) stream.makeBand(y);
      const DetailRows red = stream.rowsAt(0, y), green = stream.rowsAt(1, y), blue = stream.rowsAt(2, y);
      writeRow<kFadeIntoMidTones>(strip, y, levels, [&](int x) VESKARO_INLINE_LAMBDA -> VRgb {
        return {addUp(red, x, shrink), addUp(green, x, shrink), addUp(blue, x, shrink)};
      });
    }
  }

  void makeRatios(const Strip& strip, int y) const {
    const Floats d;
    const ConstRgbeRow row = rowOf(job_.in, job_.size.width, y);
    const ConstRgbeRow next = rowOf(job_.in, job_.size.width, std::min(y + 1, job_.size.height - 1));
    float* const to[3] = {rings_[0].base.at(y), rings_[1].base.at(y), rings_[2].base.at(y)};
    forEachVector(strip.rowStart, strip.rowEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const VPixels p = loadPixels(row, i);
      prefetchPixels(next, i);
      const int x = i - strip.rowStart;
      if (HWY_LIKELY(areOrdinary(p))) {
        const VRgb ratio = chromaticity(p);
        hn::StoreU(ratio.r, d, to[0] + x);
        hn::StoreU(ratio.g, d, to[1] + x);
        hn::StoreU(ratio.b, d, to[2] + x);
      } else {
        for (int k = 0; k < lanes(); ++k) {
          const Rgb ratio = veskaro::chromaticity(decode(row, i + k, table_));
          to[0][x + k] = ratio.r;
          to[1][x + k] = ratio.g;
          to[2][x + k] = ratio.b;
        }
      }
    });
  }

  // smoothedRatio(x): that of the vector of pixels x columns into the strip.
  template <bool kFadeIntoMidTones, class SmoothedRatio>
  HWY_INLINE void writeRow(const Strip& strip, int y, const ChromaLevels& levels,
                           const SmoothedRatio& smoothedRatio) const {
    const ConstRgbeRow in = rowOf(job_.in, job_.size.width, y);
    const RgbeRow out = job_.inPlace ? line() : rowOf(job_.out, job_.size.width, y);
    forEachVector(strip.xStart, strip.xEnd, [&](int i) VESKARO_INLINE_LAMBDA {
      const VPixels p = loadPixels(in, i);
      const int x = i - strip.xStart;
      if (HWY_LIKELY(areOrdinary(p))) {
        const VRgb own = times(mantissas(p), scaleOf(p));
        storePixels(HWY_NAMESPACE::rebuiltColour<kFadeIntoMidTones>(
                        levels, own, [&]() VESKARO_INLINE_LAMBDA { return smoothedRatio(x); }),
                    out, i);
      } else {
        writeOneByOne(in, i, smoothedRatio(x), out);
      }
    });
    if (job_.inPlace) replaceRow(strip, y);
  }

  // In place, vectors that overlap must not read what they have written: a row is made apart.
  RgbeRow line() const { return rowOf(reinterpret_cast<unsigned char*>(line_), job_.size.width, 0); }

  // The last columns wait in the result's memory, for the next strip still reads those of the picture.
  void replaceRow(const Strip& strip, int y) const {
    const int kept = strip.xEnd == job_.size.width ? strip.xEnd : strip.xEnd - kStripMargin;
    copyColumns(line(), rowOf(job_.inPlace, job_.size.width, y), strip.xStart, kept);
    copyColumns(line(), rowOf(job_.out, job_.size.width, y), kept, strip.xEnd);
  }

  void replaceKeptColumns() const {
    for (int n = 0; n + 1 < plan_.count(); ++n) {
      const int end = plan_.strip(n).xEnd;
      for (int y = 0; y < job_.size.height; ++y) {
        copyColumns(rowOf(job_.out, job_.size.width, y), rowOf(job_.inPlace, job_.size.width, y), end - kStripMargin,
                    end);
      }
    }
  }

  static void copyColumns(const RgbeRow& from, const RgbeRow& to, int start, int end) {
    const std::size_t bytes = static_cast<std::size_t>(end - start);
    std::memcpy(to.r + start, from.r + start, bytes);
    std::memcpy(to.g + start, from.g + start, bytes);
    std::memcpy(to.b + start, from.b + start, bytes);
    std::memcpy(to.e + start, from.e + start, bytes);
  }

  void writeOneByOne(const ConstRgbeRow& in, int i, const VRgb& ratio, const RgbeRow& out) const {
    const Floats d;
    alignas(64) float r[HWY_LANES(float)], g[HWY_LANES(float)], b[HWY_LANES(float)];
    hn::Store(ratio.r, d, r);
    hn::Store(ratio.g, d, g);
    hn::Store(ratio.b, d, b);
    for (int k = 0; k < lanes(); ++k) writePixel(job_, table_, in, i + k, {r[k], g[k], b[k]}, out);
  }

  const ChromaJob& job_;
  const ExponentTable table_;
  const StripPlan plan_;
  float* const line_;
  DetailRings rings_[3];
};

// Details of a chromaticity stay below 1, so that with thresholds of any use nothing leaves the float range.
bool areOrdinary(const ChromaJob& job) {
  if (job.size.width < kNarrowest) return false;
  if (!(job.thresholdScale >= 0.0f && job.thresholdScale <= 1e6f)) return false;
  return !job.fadeIntoMidTones || job.satLevel <= job.shadowsLevel ||
         std::isnormal(1.0f / (job.satLevel - job.shadowsLevel));
}

}  // namespace

int denoiseChroma(const ChromaJob& job) {
  if (!areOrdinary(job)) return vectors::kNotTaken;
  const bool done = runWithScratch([&job](Arena* arena) { return ChromaRunner(job, arena); });
  return done ? job.size.height : NR_ERROR_MEMORY;
}

#else
int denoiseChroma(const ChromaJob&) {
  return false;
}
#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro {
namespace {
HWY_EXPORT(denoiseChroma);
}  // namespace

namespace vectors {

int denoiseChroma(const ChromaJob& job) {
  return HWY_DYNAMIC_DISPATCH(denoiseChroma)(job);
}

}  // namespace vectors
}  // namespace veskaro
#endif  // HWY_ONCE
