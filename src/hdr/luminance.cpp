#include "hdr/luminance.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "VeskaroNRLib.h"
#include "hdr/detail_levels.h"
#include "hdr/luminance_kernel.h"
#include "hdr/rgbe.h"
#include "hdr/ybr.h"
#include "platform/fp_environment.h"

namespace veskaro {

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

void fillLogLuminance(const LuminanceJob& job, const ExponentTable& table, PlaneSample* luminBuf) {
  std::size_t k = 0;
  for (int j = 0; j < job.size.height; ++j) {
    const ConstRgbeRow row = rowOf(job.in, job.size.width, j);
    for (int i = 0; i < job.size.width; ++i, ++k) luminBuf[k] = logLuminance(decode(row, i, table));
  }
}

void writePicture(const LuminanceJob& job, const ExponentTable& table, const PlaneSample* luminBuf) {
  std::size_t k = 0;
  for (int j = 0; j < job.size.height; ++j) {
    const ConstRgbeRow in = rowOf(job.in, job.size.width, j);
    const RgbeRow out = rowOf(job.out, job.size.width, j);
    for (int i = 0; i < job.size.width; ++i, ++k) writePixel(table, in, i, luminBuf[k], out);
  }
}

}  // namespace

ThresholdCurve::ThresholdCurve(const LuminanceJob& job, int level) {
  const float tholdSH = noiseCoefficient(level) * job.threshold;
  const float tholdHL = job.includeMidTones ? static_cast<float>(0.1 * tholdSH) : 0.0f;
  const float low = job.shadowsLevel, high = job.satY;
  const float mid = job.includeMidTones ? job.medY : low;

  shadows = tholdSH;
  shadowsEnd = low;
  midEnd = mid;
  zeroAbove = kInfinity;
  midSlope = midOffset = highSlope = highOffset = 0.0f;
  if (low != mid) {
    midSlope = (tholdSH - tholdHL) / (low - mid);
    midOffset = (low * tholdHL - mid * tholdSH) / (low - mid);
  } else if (job.includeMidTones) {
    shadowsEnd = std::nextafter(low, kInfinity);
  }
  if (mid != high) {
    highSlope = tholdHL / (mid - high);
    highOffset = (-high * tholdHL) / (mid - high);
  } else {
    highOffset = tholdHL;
    zeroAbove = high;
  }
}

float logLuminance(const Rgb& colour) {
  const float y = luminance(colour);
  return y > 0.0f ? std::log(y) : 0.0f;
}

void writePixel(const ExponentTable& table, const ConstRgbeRow& in, int i, float logLuma, const RgbeRow& out) {
  Ybr ybr = toYbr(decode(in, i, table));
  ybr.y = std::exp(logLuma);
  const Rgb colour = toRgb(ybr);
  if (!std::isfinite(logLuma) || !std::isfinite(ybr.y) || !isEncodable(colour)) {
    copyPixel(in, out, i);
  } else {
    encode(colour, out, i);
  }
}

int denoiseLuminance(const LuminanceJob& job) {
  if (const int result = vectors::denoiseLuminance(job); result != vectors::kNotTaken) return result;
  const ExponentTable table;
  const std::size_t pixels = job.size.pixels();
  PlaneSample* const luminBuf = reinterpret_cast<PlaneSample*>(job.work);
  fillLogLuminance(job, table, luminBuf);
  {
    HeapArray<float> line(static_cast<std::size_t>(std::max(job.size.width, job.size.height)), Fill::kNothing);
    if (!line) return NR_ERROR_MEMORY;
    shrinkDetails({job.size, luminBuf, {luminBuf + pixels, luminBuf + 2 * pixels}, line.data()},
                  [&job](int level) { return ThresholdCurve(job, level); });
  }
  writePicture(job, table, luminBuf);
  return job.size.height;
}

}  // namespace veskaro

extern "C" int denoise_lumin(int reductionStrength, int iMax, int jMax, int /*rowStride*/, int /*spp*/, int bpsImage,
                             float shadowsLevel, float medY, float satY, float seuil, unsigned char* work,
                             unsigned char* pImage, unsigned char* resImage) {
  if (bpsImage != 32) return NR_ERROR_ARGUMENT;
  const veskaro::PictureSize size = {iMax, jMax};
  if (size.isEmpty() || !work || !pImage || !resImage) return NR_ERROR_ARGUMENT;
  const veskaro::platform::DefaultFpEnvironment environment;
  return veskaro::denoiseLuminance(
      {size, reductionStrength != 0, shadowsLevel, medY, satY, seuil, work, pImage, resImage});
}
