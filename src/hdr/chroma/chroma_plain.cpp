#include <algorithm>
#include <cmath>

#include "hdr/chroma/chroma_forms.h"
#include "hdr/detail/detail_levels.h"

namespace veskaro::hdr {

float chromaThreshold(const ChromaSettings& settings, int level) {
  return noiseCoefficient(level) * settings.thresholdScale;
}

ChromaLevels::ChromaLevels(const ChromaSettings& settings)
    : fade(settings.fadeIntoMidTones),
      shadows(settings.shadowsLevel),
      saturation(settings.saturationLevel),
      slope(saturation <= shadows ? 0.0f : 1.0f / (saturation - shadows)) {}

namespace {

float colourSum(const Rgb& c) {
  return (c.g + c.r) + c.b;
}

Rgb times(const Rgb& c, float factor) {
  return {c.r * factor, c.g * factor, c.b * factor};
}

// Weight 1 takes the smoothed value, 0 the pixel's own.
float blend(float own, float smoothed, float weight) {
  return static_cast<float>(own * (1.0 - weight) + static_cast<double>(smoothed * weight));
}

Rgb faded(const ChromaLevels& levels, float sum, const Rgb& own, const Rgb& smoothed) {
  if (!levels.fade || !(sum < levels.saturation)) return own;
  const float weight = (levels.saturation - sum) * levels.slope;
  return {blend(own.r, smoothed.r, weight), blend(own.g, smoothed.g, weight), blend(own.b, smoothed.b, weight)};
}

Rgb rebuiltColour(const ChromaLevels& levels, const Rgb& own, const Rgb& smoothedRatio) {
  const float sum = colourSum(own);
  if (!(sum > 0.0f)) return own;
  const Rgb smoothed = times(smoothedRatio, sum);
  return sum < levels.shadows ? smoothed : faded(levels, sum, own, smoothed);
}

class ChromaStage {
 public:
  explicit ChromaStage(const ChromaJob& job) : job_(job), levels_(job.settings), width_(job.in.size.width) {
    PlaneSample* const work = reinterpret_cast<PlaneSample*>(job.work);
    const std::size_t pixels = job.in.size.pixels();
    for (int n = 0; n < 2; ++n) smooth_[n] = work + static_cast<std::size_t>(n) * pixels;
    for (int n = 0; n < 3; ++n) ratios_[n] = work + static_cast<std::size_t>(n + 2) * pixels;
  }

  // line: max(width, height) floats.
  void run(float* line) const {
    for (int y = 0; y < job_.in.size.height; ++y) makeRatios(y);
    for (PlaneSample* ratio : ratios_) smoothRatios(ratio, line);
    for (int y = 0; y < job_.in.size.height; ++y) writeRow(y);
  }

 private:
  void makeRatios(int y) const {
    const ConstRgbeRow row = job_.in.row(y);
    const RatioRow to = ratiosOf(y);
    for (int i = 0; i < width_; ++i) {
      const Rgb ratio = plain::chromaticity(decode(row, i, table_));
      to.r[i] = ratio.r;
      to.g[i] = ratio.g;
      to.b[i] = ratio.b;
    }
  }

  void smoothRatios(PlaneSample* ratio, float* line) const {
    const std::size_t pixels = job_.in.size.pixels();
    PlaneSample* const base = reinterpret_cast<PlaneSample*>(job_.spare.bytes);
    std::copy(ratio, ratio + pixels, base);
    shrinkDetails({job_.in.size, base, {smooth_[0], smooth_[1]}, line}, [this](int level) {
      const float threshold = chromaThreshold(job_.settings, level);
      return [threshold](float) { return threshold; };
    });
    std::copy(base, base + pixels, ratio);
  }

  void writeRow(int y) const {
    const ConstRgbeRow in = job_.in.row(y);
    const RgbeRow out = job_.out.row(y);
    const RatioRow smoothed = ratiosOf(y);
    for (int i = 0; i < width_; ++i) {
      plain::writePixel(levels_, table_, in, i, {smoothed.r[i], smoothed.g[i], smoothed.b[i]}, out);
    }
  }

  struct RatioRow {
    PlaneSample* r;
    PlaneSample* g;
    PlaneSample* b;
  };
  RatioRow ratiosOf(int y) const {
    const std::size_t start = static_cast<std::size_t>(y) * static_cast<std::size_t>(width_);
    return {ratios_[0] + start, ratios_[1] + start, ratios_[2] + start};
  }

  const ChromaJob& job_;
  const ExponentTable table_;
  const ChromaLevels levels_;
  const int width_;
  PlaneSample* smooth_[2];
  PlaneSample* ratios_[3];
};

}  // namespace

Rgb plain::chromaticity(const Rgb& colour) {
  const float sum = colourSum(colour);
  if (!(sum > 0.0f) || std::isinf(sum)) return {0.0f, 0.0f, 0.0f};
  const float inverse = 1.0f / sum;
  if (std::isinf(inverse)) return {colour.r / sum, colour.g / sum, colour.b / sum};
  return times(colour, inverse);
}

void plain::writePixel(const ChromaLevels& levels, const ExponentTable& table, const ConstRgbeRow& in, int i,
                       const Rgb& smoothedRatio, const RgbeRow& out) {
  const Rgb own = decode(in, i, table);
  const Rgb colour = rebuiltColour(levels, own, smoothedRatio);
  if (std::isinf(colourSum(own)) || !isEncodable(colour)) {
    copyPixel(in, out, i);
  } else {
    encode(colour, out, i);
  }
}

bool plain::denoiseChroma(const ChromaJob& job) {
  return runWithLine<ChromaStage>(job);
}

}  // namespace veskaro::hdr
