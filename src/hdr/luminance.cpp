#include "hdr/luminance.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "VeskaroNRLib.h"
#include "hdr/detail_levels.h"
#include "hdr/rgbe.h"
#include "hdr/ybr.h"
#include "host/fp_environment.h"

namespace veskaro {

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// A black pixel enters the smoothing as luminance 1.
void FillLogLuminance(const LuminanceJob& job, const ExponentTable& table, PlaneSample* luminBuf) {
  std::size_t k = 0;
  for (int j = 0; j < job.size.height; ++j) {
    const ConstRgbeRow row = RowOf(job.in, job.size.width, j);
    for (int i = 0; i < job.size.width; ++i, ++k) {
      const float y = Luminance(Decode(row, i, table));
      luminBuf[k] = y > 0.0f ? std::log(y) : 0.0f;
    }
  }
}

// A pixel whose new luminance or colour is beyond the float range keeps its bytes.
void WritePicture(const LuminanceJob& job, const ExponentTable& table, const PlaneSample* luminBuf) {
  std::size_t k = 0;
  for (int j = 0; j < job.size.height; ++j) {
    const ConstRgbeRow in = RowOf(job.in, job.size.width, j);
    const RgbeRow out = RowOf(job.out, job.size.width, j);
    for (int i = 0; i < job.size.width; ++i, ++k) {
      Ybr ybr = ToYbr(Decode(in, i, table));
      ybr.y = std::exp(static_cast<float>(luminBuf[k]));
      const Rgb colour = ToRgb(ybr);
      if (!std::isfinite(luminBuf[k]) || !std::isfinite(ybr.y) || !Encodable(colour)) {
        CopyPixel(in, out, i);
      } else {
        Encode(colour, out, i);
      }
    }
  }
}

}  // namespace

ThresholdCurve::ThresholdCurve(const LuminanceJob& job, int level) {
  const float tholdSH = NoiseCoefficient(level) * job.threshold;
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

int DenoiseLuminance(const LuminanceJob& job) {
  const ExponentTable table;
  const std::size_t pixels = job.size.Pixels();
  PlaneSample* const luminBuf = reinterpret_cast<PlaneSample*>(job.work);
  FillLogLuminance(job, table, luminBuf);
  {
    ZeroedArray<float> line(static_cast<std::size_t>(std::max(job.size.width, job.size.height)));
    if (!line) return NR_ERROR_MEMORY;
    ShrinkDetails({job.size, luminBuf, {luminBuf + pixels, luminBuf + 2 * pixels}, line.data()},
                  [&job](int level) { return ThresholdCurve(job, level); });
  }
  WritePicture(job, table, luminBuf);
  return job.size.height;
}

}  // namespace veskaro

extern "C" int denoise_lumin(int reductionStrength, int iMax, int jMax, int /*rowStride*/, int /*spp*/, int bpsImage,
                             float shadowsLevel, float medY, float satY, float seuil, unsigned char* work,
                             unsigned char* pImage, unsigned char* resImage) {
  if (bpsImage != 32) return NR_ERROR_ARGUMENT;
  const veskaro::PictureSize size = {iMax, jMax};
  if (size.Empty() || !work || !pImage || !resImage) return NR_ERROR_ARGUMENT;
  const veskaro::DefaultFpEnvironment environment;
  return veskaro::DenoiseLuminance(
      {size, reductionStrength != 0, shadowsLevel, medY, satY, seuil, work, pImage, resImage});
}
