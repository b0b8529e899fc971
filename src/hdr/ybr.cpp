#include "hdr/ybr.h"

#include "VeskaroNRLib.h"

namespace veskaro {

namespace {

// 0 for anything that is not above 0, a NaN included.
float positivePart(double value) {
  const float rounded = static_cast<float>(value);
  return rounded > 0.0f ? rounded : 0.0f;
}

}  // namespace

float luminance(const Rgb& colour) {
  const double r = colour.r, g = colour.g, b = colour.b;
  return static_cast<float>((0.587 * g + 0.299 * r) + 0.114 * b);
}

Ybr toYbr(const Rgb& colour) {
  const double r = colour.r, g = colour.g, b = colour.b;
  return {luminance(colour), static_cast<float>((0.5 * b + -0.1687 * r) - 0.3313 * g),
          static_cast<float>((0.5 * r - 0.4187 * g) - 0.0813 * b)};
}

Rgb toRgb(const Ybr& colour) {
  const double y = colour.y, cb = colour.cb, cr = colour.cr;
  return {positivePart(y + 1.402 * cr), positivePart((y - 0.34414 * cb) - 0.71414 * cr), positivePart(y + 1.772 * cb)};
}

}  // namespace veskaro

extern "C" int rgb2ybr(float* rgb, float* ybr) {
  const veskaro::Ybr result = veskaro::toYbr({rgb[0], rgb[1], rgb[2]});
  ybr[0] = result.y;
  ybr[1] = result.cb;
  ybr[2] = result.cr;
  return 1;
}

extern "C" int ybr2rgb(float* ybr, float* rgb) {
  const veskaro::Rgb result = veskaro::toRgb({ybr[0], ybr[1], ybr[2]});
  rgb[0] = result.r;
  rgb[1] = result.g;
  rgb[2] = result.b;
  return 1;
}
