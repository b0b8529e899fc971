#ifndef VESKARO_PIXELS_COLOUR_H
#define VESKARO_PIXELS_COLOUR_H

namespace veskaro::pixels {

constexpr float kLumaR = 0.299f;  // BT.601
constexpr float kLumaG = 0.587f;
constexpr float kLumaB = 0.114f;
constexpr float kInverseLumaG = 1.70357752f;

struct Rgb {
  float r, g, b;
};

// Luma and the two unscaled colour differences.
struct Ycc {
  float y;
  float bMinusY;
  float rMinusY;
};

inline Ycc toYcc(const Rgb& p) {
  const float y = (p.g * kLumaG + kLumaB * p.b) + kLumaR * p.r;
  return {y, p.b - y, p.r - y};
}

inline Rgb toRgb(const Ycc& p) {
  const float r = p.rMinusY + p.y;
  const float b = p.bMinusY + p.y;
  return {r, ((p.y - kLumaR * r) - kLumaB * b) * kInverseLumaG, b};
}

// The form in which the noise filter compares pixels. Its luma adds red before blue, so it can differ from toYcc in
// the last bit.
inline Ycc toComparisonYcc(const Rgb& p) {
  const float y = (kLumaG * p.g + kLumaR * p.r) + kLumaB * p.b;
  return {y, p.b - y, p.r - y};
}

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_COLOUR_H
