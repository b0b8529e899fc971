// One row of a block's samples, as values that noise and structure are measured in.
#ifndef VESKARO_MEASURE_HAAR_MEASURED_ROW_H
#define VESKARO_MEASURE_HAAR_MEASURED_ROW_H

#include <cmath>

#include "measure/haar/haar_block.h"

namespace veskaro::measure {

template <typename Sample>
inline float measuredValue(const unsigned char* at, const pixels::SampleScale& scale) {
  const float v = static_cast<float>(pixels::loadSample<Sample>(at));
  if (sizeof(Sample) < sizeof(float)) return (v < scale.white ? v : scale.white) * scale.toWorking;
  if (scale.encoding == pixels::Encoding::kLinear) return std::copysign(std::sqrt(std::fabs(v)), v);
  return v * scale.toWorking;
}

struct MeasuredRow {
  float v[3][kHaarBlock];
};

// False when a value is not finite.
template <typename Sample>
inline bool loadRow(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                    MeasuredRow* row) {
  float zero = 0.0f;
  for (int k = 0; k < 3; ++k) {
    const unsigned char* at = picture.at(k, x, y);
    for (int i = 0; i < kHaarBlock; ++i, at += picture.pixelStride) {
      const float value = row->v[k][i] = measuredValue<Sample>(at, scale);
      zero += value * 0.0f;
    }
  }
  return zero == 0.0f;
}

// Y, B - Y and R - Y.
inline void toDifferences(const MeasuredRow& row, float* y, float* blue, float* red) {
  for (int i = 0; i < kHaarBlock; ++i) {
    const float r = row.v[0][i], g = row.v[1][i], b = row.v[2][i];
    y[i] = 0.299f * r + 0.587f * g + 0.114f * b;
    blue[i] = b - y[i];
    red[i] = r - y[i];
  }
}

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_HAAR_MEASURED_ROW_H
