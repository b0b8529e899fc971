#include "pictures/rgbe.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tool::pictures {
namespace {

constexpr int kBias = 136;

using Rgbe = std::array<std::uint8_t, 4>;

// What is beyond all numbers is very bright, and no number is black.
float held(float v) {
  constexpr float kVeryBright = 1e30f;
  return v > 0 ? std::isinf(v) ? kVeryBright : v : 0.0f;
}

Rgbe toRgbe(std::array<float, 3> rgb) {
  for (float& v : rgb) v = held(v);
  const float most = std::max({rgb[0], rgb[1], rgb[2]});
  int exponent = 0;
  // Half a step below a power of two is rounded up to it.
  if (std::frexp(most, &exponent) * 256 >= 255.5f) ++exponent;
  const int stored = std::min(exponent + 128, 255);
  if (!(most > 0) || stored < 1) return {0, 0, 0, 0};
  const double scale = std::ldexp(1.0, kBias - stored);
  const auto byte = [scale](float v) {
    return static_cast<std::uint8_t>(std::lrint(std::clamp(static_cast<double>(v) * scale, 0.0, 255.0)));
  };
  return {byte(rgb[0]), byte(rgb[1]), byte(rgb[2]), static_cast<std::uint8_t>(stored)};
}

// Calls visit(first byte in the planar rows, index of the pixel) for each pixel.
template <typename Visit>
void forEachPixel(int width, int height, Visit visit) {
  const std::size_t w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height);
  for (std::size_t y = 0; y < h; ++y) {
    for (std::size_t x = 0; x < w; ++x) visit(4 * w * y + x, w * y + x);
  }
}

}  // namespace

std::vector<float> toLight(const HdrPicture& picture) {
  std::vector<float> light(3 * picture.pixels());
  const std::size_t w = static_cast<std::size_t>(picture.width);
  forEachPixel(picture.width, picture.height, [&](std::size_t at, std::size_t pixel) {
    const int exponent = picture.planar[at + 3 * w];
    // An exponent of 0 is black, whatever the rest.
    const double scale = exponent > 0 ? std::ldexp(1.0, exponent - kBias) : 0.0;
    for (std::size_t c = 0; c < 3; ++c) light[3 * pixel + c] = static_cast<float>(picture.planar[at + c * w] * scale);
  });
  return light;
}

Bytes fromLight(const Light& light) {
  Bytes planar(4 * light.pixels());
  const std::size_t w = static_cast<std::size_t>(light.width), step = light.channels == 1 ? 0 : 1;
  forEachPixel(light.width, light.height, [&](std::size_t at, std::size_t pixel) {
    const float* from = &light.samples[pixel * static_cast<std::size_t>(light.channels)];
    const Rgbe rgbe = toRgbe({from[0], from[step], from[2 * step]});
    for (std::size_t c = 0; c < 4; ++c) planar[at + c * w] = rgbe[c];
  });
  return planar;
}

}  // namespace tool::pictures
