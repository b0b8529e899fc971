#include "hdr/rgbe/rgbe.h"

#include <algorithm>
#include <cmath>

namespace veskaro::hdr {

namespace {

// The low byte of the value truncated toward zero. A value that no int holds, as a large negative channel beside tiny
// positive ones gives, has the low byte 0.
unsigned char mantissaByte(float value) {
  constexpr float kIntLimit = 2147483648.0f;
  if (!(value >= -kIntLimit && value < kIntLimit)) return 0;
  return static_cast<unsigned char>(static_cast<unsigned>(static_cast<int>(value)));
}

}  // namespace

ExponentTable::ExponentTable() {
  for (int e = 0; e < 256; ++e) scale_[e] = static_cast<float>(std::scalbn(1.0, e - 136));
}

bool isEncodable(const Rgb& colour) {
  return std::isfinite(colour.r) && std::isfinite(colour.g) && std::isfinite(colour.b);
}

void encode(const Rgb& colour, const RgbeRow& row, int i) {
  const double largest = std::max(std::max(colour.g, colour.r), colour.b);
  if (largest <= 1e-32) {
    row.r[i] = row.g[i] = row.b[i] = row.e[i] = 0;
    return;
  }
  int exponent;
  const double fraction = std::frexp(largest, &exponent);
  const float scale = static_cast<float>(fraction * 256.0 / largest);
  row.r[i] = mantissaByte(colour.r * scale);
  row.g[i] = mantissaByte(colour.g * scale);
  row.b[i] = mantissaByte(colour.b * scale);
  row.e[i] = static_cast<unsigned char>(exponent + 128);
}

void copyPixel(const ConstRgbeRow& from, const RgbeRow& to, int i) {
  to.r[i] = from.r[i];
  to.g[i] = from.g[i];
  to.b[i] = from.b[i];
  to.e[i] = from.e[i];
}

}  // namespace veskaro::hdr
