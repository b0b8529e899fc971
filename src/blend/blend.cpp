#include "blend/blend.h"

namespace veskaro::blend {
namespace {

// Share of the filtered luminance by its brightness on the working scale: a ramp from below to above.
float highlightFactor(float y, const params::BlendSettings& s) {
  if (!(y > s.highlightLow)) return s.highlightBelow;
  if (y >= s.highlightHigh) return s.highlightAbove;
  return s.highlightSlope * y + s.highlightIntercept;
}

float mixLuma(float original, float filtered, float share) {
  const double kept = (1.0 - static_cast<double>(share)) * static_cast<double>(original);
  return static_cast<float>(kept + static_cast<double>(filtered * share));
}

}  // namespace

pixels::Ycc mixYcc(const pixels::Rgb& original, const pixels::Rgb& filtered, float toWorking,
                   const params::BlendSettings& s) {
  const pixels::Ycc in = pixels::toYcc(original);
  const pixels::Ycc nr = pixels::toYcc(filtered);
  const float lumaShare = highlightFactor(nr.y * toWorking, s) * s.luma;
  const float chromaKept = 1.0f - s.chroma;
  return {mixLuma(in.y, nr.y, lumaShare), nr.bMinusY * s.chroma + chromaKept * in.bMinusY,
          nr.rMinusY * s.chroma + in.rMinusY * chromaKept};
}

pixels::Rgb mixPixel(const pixels::Rgb& original, const pixels::Rgb& filtered, float toWorking,
                     const params::BlendSettings& s) {
  return pixels::toRgb(mixYcc(original, filtered, toWorking, s));
}

}  // namespace veskaro::blend
