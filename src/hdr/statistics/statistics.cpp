#include "hdr/statistics/statistics.h"

#include "VeskaroNRLib.h"
#include "hdr/forms.h"
#include "hdr/statistics/log_percentiles.h"

namespace veskaro::hdr {

namespace {

float towards(float from, float to, double share) {
  return static_cast<float>(from + share * static_cast<double>(to - from));
}

HdrStatistics summarize(const LogPercentiles& sum, const LogPercentiles& luminance, float initialThreshold) {
  const float sumMedian = sum.at(kMedian), median = luminance.at(kMedian), highest = luminance.at(kHighest);
  const float thresholdScale = static_cast<float>(2.0 * initialThreshold * luminance.scale.range());
  HdrStatistics s;
  s.sumShadows = towards(sumMedian, sum.at(kLowest), 0.25);
  s.sumSaturation = towards(sumMedian, sum.at(kHighest), 0.5);
  s.luminanceShadows = (luminance.at(kLowest) + median) * 0.5f;
  s.luminanceMedian = median;
  s.luminance99 = highest;
  s.luminanceThreshold = (highest - median) * thresholdScale;
  return s;
}

}  // namespace

int measurePicture(const ConstPicture& picture, float initialThreshold, HdrStatistics* statistics) {
  if (picture.size.isEmpty() || !showsSpread(picture)) return NR_ERROR_STATISTICS;
  LogPercentiles found[kQuantities];
  const auto plainForm = [&] { return plain::findPercentiles(picture, found); };
  if (!isDone(vectors::findPercentiles(picture, found), plainForm)) return NR_ERROR_MEMORY;
  if (!haveSpread(found)) return NR_ERROR_STATISTICS;
  *statistics = summarize(found[kColourSum], found[kLuminance], initialThreshold);
  return NR_OK;
}

}  // namespace veskaro::hdr
