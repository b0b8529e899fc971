// How far a detail of the log luminance may be noise.
#ifndef VESKARO_HDR_LUMINANCE_THRESHOLD_CURVE_H
#define VESKARO_HDR_LUMINANCE_THRESHOLD_CURVE_H

#include "hdr/luminance/luminance.h"

namespace veskaro::hdr {

// Threshold of a level's details against the smoothed log luminance S:
//
//   shadows  ______
//                  \            a line from shadowsLevel to median,
//   tenth of it     \___        then one to 0 at saturationLevel, which goes on below 0.
//             0         ---___
//             shadowsLevel  median  saturationLevel
//
// Without the mid-tones the second line lies at 0 and median at shadowsLevel. A line without width has no slope to
// divide by: its one point takes the value of its lower end.
struct ThresholdCurve {
  ThresholdCurve(const LuminanceSettings& settings, int level);

  float operator()(float smooth) const {
    if (smooth < shadowsEnd) return shadows;
    if (smooth < midEnd) return midSlope * smooth + midOffset;
    if (smooth > zeroAbove) return 0.0f;
    return highSlope * smooth + highOffset;
  }

  float shadowsEnd, midEnd;
  float zeroAbove;  // infinity unless the upper line has no width
  float shadows;
  float midSlope, midOffset;
  float highSlope, highOffset;
};

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_LUMINANCE_THRESHOLD_CURVE_H
