#include "hdr/rgbe/ybr.h"

#include "platform/log_exp.h"

namespace veskaro::hdr {

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

float cbOf(const Rgb& colour) {
  const double r = colour.r, g = colour.g, b = colour.b;
  return static_cast<float>((0.5 * b + -0.1687 * r) - 0.3313 * g);
}

float crOf(const Rgb& colour) {
  const double r = colour.r, g = colour.g, b = colour.b;
  return static_cast<float>((0.5 * r - 0.4187 * g) - 0.0813 * b);
}

Ybr toYbr(const Rgb& colour) {
  return {luminance(colour), cbOf(colour), crOf(colour)};
}

Rgb toRgb(const Ybr& colour) {
  const double y = colour.y, cb = colour.cb, cr = colour.cr;
  return {positivePart(y + 1.402 * cr), positivePart((y - 0.34414 * cb) - 0.71414 * cr), positivePart(y + 1.772 * cb)};
}

float logOrZero(float value) {
  return value > 0.0f ? platform::logOf(value) : 0.0f;
}

float logLuminance(const Rgb& colour) {
  return logOrZero(luminance(colour));
}

}  // namespace veskaro::hdr
