#include "hdr/luminance/threshold_curve.h"

#include <cmath>
#include <limits>

#include "hdr/detail/detail_levels.h"

namespace veskaro::hdr {

ThresholdCurve::ThresholdCurve(const LuminanceSettings& settings, int level) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const float inShadows = noiseCoefficient(level) * settings.thresholdScale;
  const float atMedian = settings.includeMidTones ? static_cast<float>(0.1 * inShadows) : 0.0f;
  const float low = settings.shadowsLevel, high = settings.saturationLevel;
  const float mid = settings.includeMidTones ? settings.median : low;

  shadows = inShadows;
  shadowsEnd = low;
  midEnd = mid;
  zeroAbove = kInfinity;
  midSlope = midOffset = highSlope = highOffset = 0.0f;
  if (low != mid) {
    midSlope = (inShadows - atMedian) / (low - mid);
    midOffset = (low * atMedian - mid * inShadows) / (low - mid);
  } else if (settings.includeMidTones) {
    shadowsEnd = std::nextafter(low, kInfinity);
  }
  if (mid != high) {
    highSlope = atMedian / (mid - high);
    highOffset = (-high * atMedian) / (mid - high);
  } else {
    highOffset = atMedian;
    zeroAbove = high;
  }
}

}  // namespace veskaro::hdr
