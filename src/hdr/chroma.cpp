#include "hdr/chroma.h"

#include <algorithm>
#include <cmath>

#include "VeskaroNRLib.h"
#include "hdr/detail_levels.h"
#include "hdr/rgbe.h"
#include "host/fp_environment.h"

namespace veskaro {

namespace {

float ColorSum(const Rgb& colour) {
  return (colour.g + colour.r) + colour.b;
}

// Each channel's share of the colour sum. Black, and a sum beyond the float range, have none: they enter the smoothing
// as 0 and so spread nothing but their absence.
Rgb Chromaticity(const Rgb& colour) {
  const float sum = ColorSum(colour);
  if (!(sum > 0.0f) || std::isinf(sum)) return {0.0f, 0.0f, 0.0f};
  const float inverse = 1.0f / sum;
  if (std::isinf(inverse)) return {colour.r / sum, colour.g / sum, colour.b / sum};
  return {colour.r * inverse, colour.g * inverse, colour.b * inverse};
}

struct RatioPlanes {
  PlaneSample* r;
  PlaneSample* g;
  PlaneSample* b;
};

void FillRatioPlanes(const ChromaJob& job, const ExponentTable& table, const RatioPlanes& ratios) {
  std::size_t k = 0;
  for (int j = 0; j < job.size.height; ++j) {
    const ConstRgbeRow row = RowOf(job.in, job.size.width, j);
    for (int i = 0; i < job.size.width; ++i, ++k) {
      const Rgb ratio = Chromaticity(Decode(row, i, table));
      ratios.r[k] = ratio.r;
      ratios.g[k] = ratio.g;
      ratios.b[k] = ratio.b;
    }
  }
}

// The result's memory serves as the plane being shrunk until the picture is written into it.
void SmoothRatioPlane(const ChromaJob& job, PlaneSample* ratio, float* line) {
  const std::size_t pixels = job.size.Pixels();
  PlaneSample* const levels = reinterpret_cast<PlaneSample*>(job.work);
  PlaneSample* const base = reinterpret_cast<PlaneSample*>(job.out);
  std::copy(ratio, ratio + pixels, base);
  ShrinkDetails({job.size, base, {levels, levels + pixels}, line}, [&job](int level) {
    const float threshold = NoiseCoefficient(level) * job.thresholdScale;
    return [threshold](float) { return threshold; };
  });
  std::copy(base, base + pixels, ratio);
}

// One channel between the shadows and the saturation level: weight 1 takes the smoothed value, 0 the pixel's own.
float Blend(float own, float smoothed, float weight) {
  return static_cast<float>(own * (1.0 - weight) + static_cast<double>(smoothed * weight));
}

// The colour that a pixel takes, given its smoothed chromaticity.
Rgb RebuiltColour(const ChromaJob& job, const Rgb& own, const Rgb& ratio) {
  const float sum = ColorSum(own);
  if (!(sum > 0.0f)) return own;
  const Rgb smoothed = {ratio.r * sum, ratio.g * sum, ratio.b * sum};
  if (sum < job.shadowsLevel) return smoothed;
  if (!(sum < job.satLevel && job.fadeIntoMidTones)) return own;
  const float inverse = 1.0f / (job.satLevel - job.shadowsLevel);
  const float weight = (job.satLevel - sum) * inverse;
  return {Blend(own.r, smoothed.r, weight), Blend(own.g, smoothed.g, weight), Blend(own.b, smoothed.b, weight)};
}

// A pixel whose colour sum or result is beyond the float range keeps its bytes.
void WritePicture(const ChromaJob& job, const ExponentTable& table, const RatioPlanes& ratios) {
  std::size_t k = 0;
  for (int j = 0; j < job.size.height; ++j) {
    const ConstRgbeRow in = RowOf(job.in, job.size.width, j);
    const RgbeRow out = RowOf(job.out, job.size.width, j);
    for (int i = 0; i < job.size.width; ++i, ++k) {
      const Rgb own = Decode(in, i, table);
      const Rgb colour = RebuiltColour(job, own, {ratios.r[k], ratios.g[k], ratios.b[k]});
      if (std::isinf(ColorSum(own)) || !Encodable(colour)) {
        CopyPixel(in, out, i);
      } else {
        Encode(colour, out, i);
      }
    }
  }
}

}  // namespace

int DenoiseChroma(const ChromaJob& job) {
  const ExponentTable table;
  const std::size_t pixels = job.size.Pixels();
  PlaneSample* const planes = reinterpret_cast<PlaneSample*>(job.work);
  const RatioPlanes ratios = {planes + 2 * pixels, planes + 3 * pixels, planes + 4 * pixels};
  FillRatioPlanes(job, table, ratios);
  {
    ZeroedArray<float> line(static_cast<std::size_t>(std::max(job.size.width, job.size.height)));
    if (!line) return NR_ERROR_MEMORY;
    for (PlaneSample* ratio : {ratios.r, ratios.g, ratios.b}) SmoothRatioPlane(job, ratio, line.data());
  }
  WritePicture(job, table, ratios);
  return job.size.height;
}

}  // namespace veskaro

extern "C" int denoise_chroma(int reductionStrength, float seuil, int iMax, int jMax, int /*rowStride*/, int /*spp*/,
                              int bpsImage, float shadowsLevel, float satLevel, unsigned char* work,
                              unsigned char* pImage, unsigned char* resImage) {
  if (bpsImage != 32) return NR_REFUSED;
  const veskaro::PictureSize size = {iMax, jMax};
  if (size.Empty() || !work || !pImage || !resImage) return NR_ERROR_ARGUMENT;
  const veskaro::DefaultFpEnvironment environment;
  return veskaro::DenoiseChroma({size, reductionStrength > 0, seuil, shadowsLevel, satLevel, work, pImage, resImage});
}
