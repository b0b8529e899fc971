#include "hdr/chroma.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "VeskaroNRLib.h"
#include "hdr/chroma_kernel.h"
#include "hdr/detail_levels.h"
#include "hdr/rgbe.h"
#include "platform/fp_environment.h"

namespace veskaro {

namespace {

float colorSum(const Rgb& colour) {
  return (colour.g + colour.r) + colour.b;
}

struct RatioPlanes {
  PlaneSample* r;
  PlaneSample* g;
  PlaneSample* b;
};

void fillRatioPlanes(const ChromaJob& job, const ExponentTable& table, const RatioPlanes& ratios) {
  std::size_t k = 0;
  for (int j = 0; j < job.size.height; ++j) {
    const ConstRgbeRow row = rowOf(job.in, job.size.width, j);
    for (int i = 0; i < job.size.width; ++i, ++k) {
      const Rgb ratio = chromaticity(decode(row, i, table));
      ratios.r[k] = ratio.r;
      ratios.g[k] = ratio.g;
      ratios.b[k] = ratio.b;
    }
  }
}

// The result's memory serves as the plane being shrunk until the picture is written into it.
void smoothRatioPlane(const ChromaJob& job, PlaneSample* ratio, float* line) {
  const std::size_t pixels = job.size.pixels();
  PlaneSample* const levels = reinterpret_cast<PlaneSample*>(job.work);
  PlaneSample* const base = reinterpret_cast<PlaneSample*>(job.out);
  std::copy(ratio, ratio + pixels, base);
  shrinkDetails({job.size, base, {levels, levels + pixels}, line}, [&job](int level) {
    const float threshold = noiseCoefficient(level) * job.thresholdScale;
    return [threshold](float) { return threshold; };
  });
  std::copy(base, base + pixels, ratio);
}

// One channel between the shadows and the saturation level: weight 1 takes the smoothed value, 0 the pixel's own.
float blend(float own, float smoothed, float weight) {
  return static_cast<float>(own * (1.0 - weight) + static_cast<double>(smoothed * weight));
}

// The colour that a pixel takes, given its smoothed chromaticity.
Rgb rebuiltColour(const ChromaJob& job, const Rgb& own, const Rgb& ratio) {
  const float sum = colorSum(own);
  if (!(sum > 0.0f)) return own;
  const Rgb smoothed = {ratio.r * sum, ratio.g * sum, ratio.b * sum};
  if (sum < job.shadowsLevel) return smoothed;
  if (!(sum < job.satLevel && job.fadeIntoMidTones)) return own;
  const float inverse = 1.0f / (job.satLevel - job.shadowsLevel);
  const float weight = (job.satLevel - sum) * inverse;
  return {blend(own.r, smoothed.r, weight), blend(own.g, smoothed.g, weight), blend(own.b, smoothed.b, weight)};
}

void writePicture(const ChromaJob& job, const ExponentTable& table, const RatioPlanes& ratios) {
  std::size_t k = 0;
  for (int j = 0; j < job.size.height; ++j) {
    const ConstRgbeRow in = rowOf(job.in, job.size.width, j);
    const RgbeRow out = rowOf(job.out, job.size.width, j);
    for (int i = 0; i < job.size.width; ++i, ++k) {
      writePixel(job, table, in, i, {ratios.r[k], ratios.g[k], ratios.b[k]}, out);
    }
  }
}

}  // namespace

Rgb chromaticity(const Rgb& colour) {
  const float sum = colorSum(colour);
  if (!(sum > 0.0f) || std::isinf(sum)) return {0.0f, 0.0f, 0.0f};
  const float inverse = 1.0f / sum;
  if (std::isinf(inverse)) return {colour.r / sum, colour.g / sum, colour.b / sum};
  return {colour.r * inverse, colour.g * inverse, colour.b * inverse};
}

void writePixel(const ChromaJob& job, const ExponentTable& table, const ConstRgbeRow& in, int i, const Rgb& ratio,
                const RgbeRow& out) {
  const Rgb own = decode(in, i, table);
  const Rgb colour = rebuiltColour(job, own, ratio);
  if (std::isinf(colorSum(own)) || !isEncodable(colour)) {
    copyPixel(in, out, i);
  } else {
    encode(colour, out, i);
  }
}

int denoiseChroma(const ChromaJob& job) {
  if (const int result = vectors::denoiseChroma(job); result != vectors::kNotTaken) return result;
  const ExponentTable table;
  const std::size_t pixels = job.size.pixels();
  PlaneSample* const planes = reinterpret_cast<PlaneSample*>(job.work);
  const RatioPlanes ratios = {planes + 2 * pixels, planes + 3 * pixels, planes + 4 * pixels};
  fillRatioPlanes(job, table, ratios);
  {
    HeapArray<float> line(static_cast<std::size_t>(std::max(job.size.width, job.size.height)), Fill::kNothing);
    if (!line) return NR_ERROR_MEMORY;
    for (PlaneSample* ratio : {ratios.r, ratios.g, ratios.b}) smoothRatioPlane(job, ratio, line.data());
  }
  writePicture(job, table, ratios);
  if (job.inPlace) std::memcpy(job.inPlace, job.out, 4 * pixels);
  return job.size.height;
}

}  // namespace veskaro

extern "C" int denoise_chroma(int reductionStrength, float seuil, int iMax, int jMax, int /*rowStride*/, int /*spp*/,
                              int bpsImage, float shadowsLevel, float satLevel, unsigned char* work,
                              unsigned char* pImage, unsigned char* resImage) {
  if (bpsImage != 32) return NR_REFUSED;
  const veskaro::PictureSize size = {iMax, jMax};
  if (size.isEmpty() || !work || !pImage || !resImage) return NR_ERROR_ARGUMENT;
  const veskaro::platform::DefaultFpEnvironment environment;
  return veskaro::denoiseChroma(
      {size, reductionStrength > 0, seuil, shadowsLevel, satLevel, work, pImage, resImage, nullptr});
}
