// The last pass of denoise2: filtered and input picture mixed in luminance and chroma by separate shares. Highlights
// take less of the filtered luminance.
#include "tiled/recombine.h"

#include "pixels/colour.h"

namespace veskaro {
namespace {

using pixels::Rgb;
using pixels::Ycc;

// Share of the filtered luminance by its brightness on the 8-bit scale: a ramp from below to above.
float highlightFactor(float y, const params::BlendSettings& s) {
  if (!(y > s.highlightLow)) return s.highlightBelow;
  if (y >= s.highlightHigh) return s.highlightAbove;
  return s.highlightSlope * y + s.highlightIntercept;
}

float mixLuma(float original, float filtered, float share) {
  const double kept = (1.0 - static_cast<double>(share)) * static_cast<double>(original);
  return static_cast<float>(kept + static_cast<double>(filtered * share));
}

Rgb mixPixel(const Rgb& original, const Rgb& filtered, float toEightBit, const params::BlendSettings& s) {
  const Ycc in = pixels::toYcc(original);
  const Ycc nr = pixels::toYcc(filtered);
  const float lumaShare = highlightFactor(nr.y * toEightBit, s) * s.luma;
  const float chromaKept = 1.0f - s.chroma;
  return pixels::toRgb({mixLuma(in.y, nr.y, lumaShare), nr.bMinusY * s.chroma + chromaKept * in.bMinusY,
                nr.rMinusY * s.chroma + in.rMinusY * chromaKept});
}

template <typename Sample>
Rgb loadPixel(const unsigned char* row, std::ptrdiff_t k) {
  return {static_cast<float>(loadSample<Sample>(row, k)), static_cast<float>(loadSample<Sample>(row, k + 1)),
          static_cast<float>(loadSample<Sample>(row, k + 2))};
}

template <typename Sample>
void recombineSamples(const unsigned char* in, unsigned char* out, int width, const params::BlendSettings& s) {
  constexpr float kToEightBit = sizeof(Sample) == 1 ? 1.0f : 0.00390625f;
  for (std::ptrdiff_t k = 0; k < std::ptrdiff_t{width} * 3; k += 3) {
    const Rgb mixed = mixPixel(loadPixel<Sample>(in, k), loadPixel<Sample>(out, k), kToEightBit, s);
    storeSample(out, k, truncateToSample<Sample>(mixed.r));
    storeSample(out, k + 1, truncateToSample<Sample>(mixed.g));
    storeSample(out, k + 2, truncateToSample<Sample>(mixed.b));
  }
}

}  // namespace

void recombineRow(const Pictures& p, int y, const params::BlendSettings& settings) {
  const std::ptrdiff_t row = p.rowOffset(0, y);
  if (p.bits == 8) {
    recombineSamples<std::uint8_t>(p.in + row, p.out + row, p.width, settings);
  } else {
    recombineSamples<std::uint16_t>(p.in + row, p.out + row, p.width, settings);
  }
}

}  // namespace veskaro
