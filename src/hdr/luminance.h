// The luminance stage of denoise1: smooths the log luminance and keeps each pixel's Cb and Cr.
#ifndef VESKARO_HDR_LUMINANCE_H
#define VESKARO_HDR_LUMINANCE_H

#include "hdr/planes.h"
#include "hdr/rgbe.h"

namespace veskaro {

struct LuminanceJob {
  PictureSize size;
  bool includeMidTones;  // otherwise only the shadows are denoised
  float shadowsLevel;    // log luminances
  float medY;
  float satY;
  float threshold;      // of the details of the log luminance, before the level's coefficient
  unsigned char* work;  // 3 floats a pixel, any alignment
  const unsigned char* in;
  unsigned char* out;
};

// Threshold of a level's details against the smoothed log luminance S:
//
//   tholdSH ______
//                 \            a line from shadowsLevel to medY,
//   tholdHL        \___        then one to 0 at satY, which goes on below 0.
//         0            ---___
//            shadowsLevel  medY  satY
//
// Without the mid-tones tholdHL is 0 and medY lies at shadowsLevel. A line without width has no slope to divide by: its
// one point takes the value of its lower end.
struct ThresholdCurve {
  ThresholdCurve(const LuminanceJob& job, int level);

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

// A black pixel enters the smoothing as luminance 1.
float logLuminance(const Rgb& colour);

// Writes pixel i of a row with its own Cb and Cr and a new luminance. One whose new luminance or colour is beyond the
// float range keeps its bytes.
void writePixel(const ExponentTable& table, const ConstRgbeRow& in, int i, float logLuma, const RgbeRow& out);

// Returns the rows written, or NR_ERROR_MEMORY with out untouched.
int denoiseLuminance(const LuminanceJob& job);

}  // namespace veskaro

#endif  // VESKARO_HDR_LUMINANCE_H
