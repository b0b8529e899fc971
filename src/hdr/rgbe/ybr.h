// Full-range YCbCr of JFIF (ITU-R BT.601 weights, no offset), in double, each result rounded to float once, and the
// logarithm of the luminance.
#ifndef VESKARO_HDR_RGBE_YBR_H
#define VESKARO_HDR_RGBE_YBR_H

#include "hdr/rgbe/rgbe.h"

namespace veskaro::hdr {

struct Ybr {
  float y, cb, cr;
};

float luminance(const Rgb& colour);
float cbOf(const Rgb& colour);
float crOf(const Rgb& colour);
Ybr toYbr(const Rgb& colour);
Rgb toRgb(const Ybr& colour);  // each channel at least 0

// Black counts as 1, whose logarithm is 0.
float logOrZero(float value);
float logLuminance(const Rgb& colour);

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_RGBE_YBR_H
