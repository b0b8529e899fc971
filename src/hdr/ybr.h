// Full-range YCbCr of JFIF (ITU-R BT.601 weights, no offset), in double, each result rounded to float once.
#ifndef VESKARO_HDR_YBR_H
#define VESKARO_HDR_YBR_H

#include "hdr/rgbe.h"

namespace veskaro {

struct Ybr {
  float y, cb, cr;
};

float luminance(const Rgb& colour);
Ybr toYbr(const Rgb& colour);
Rgb toRgb(const Ybr& colour);  // each channel at least 0

}  // namespace veskaro

#endif  // VESKARO_HDR_YBR_H
