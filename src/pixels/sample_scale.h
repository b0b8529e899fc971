// How samples relate to the working scale, on which black is 0 and white 255 whatever the type. Integers are blended
// with the filtered picture on their own scale, floats on the working one.
#ifndef VESKARO_PIXELS_SAMPLE_SCALE_H
#define VESKARO_PIXELS_SAMPLE_SCALE_H

#include <cmath>
#include <type_traits>

#include "pixels/picture.h"

namespace veskaro::pixels {

enum class Rounding { kTruncate, kNearest, kNone };

struct SampleScale {
  float white;           // largest sample
  float toWorking;       // integers: 256 / (white + 1), a power of two; floats: 255 / white
  float toBlend;         // from the working scale to that of the blend: 1 / toWorking for integers, 1 for floats
  float blendToWorking;  // and back
  float most;            // white on the scale of the blend
  Encoding encoding;     // of floats
  float linearScale;     // the linear value that becomes 255
  Rounding rounding;
};

inline SampleScale integerScale(float white, Rounding rounding) {
  const float toWorking = 256.0f / (white + 1.0f);
  return {white, toWorking, (white + 1.0f) * 0.00390625f, toWorking, white, Encoding::kDisplay, 1.0f, rounding};
}

inline SampleScale floatScale(float white, Encoding encoding, float linearScale, Rounding rounding) {
  return {white, 255.0f / white, 1.0f, 1.0f, 255.0f, encoding, linearScale, rounding};
}

// One float sample to the working scale and back.
inline float toWorking(float v, const SampleScale& s) {
  if (s.encoding == Encoding::kDisplay) return v * s.toWorking;
  return std::copysign(std::sqrt(std::fabs(v) / s.linearScale) * 255.0f, v);
}

inline float fromWorking(float v, const SampleScale& s) {
  if (s.encoding == Encoding::kDisplay) return v / s.toWorking;
  const float root = v / 255.0f;
  return std::copysign(root * root * s.linearScale, v);
}

// Truncates towards zero into [0, most]; not a number gives 0.
inline float truncated(float v, float most) {
  if (!(v > 0.0f)) return 0.0f;
  return v < most ? static_cast<float>(static_cast<int>(v)) : most;
}

// A value of the blend's scale, rounded as asked; halves go to even.
inline float rounded(float v, const SampleScale& s) {
  if (s.rounding == Rounding::kTruncate) return truncated(v, s.most);
  if (s.rounding == Rounding::kNone) return v;
  if (!(v > 0.0f)) return 0.0f;
  return std::nearbyint(v < s.most ? v : s.most);
}

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_SAMPLE_SCALE_H
