// Rows of samples between a host's picture and three planes of the sample's type.
#ifndef VESKARO_PIXELS_SAMPLE_ROWS_H
#define VESKARO_PIXELS_SAMPLE_ROWS_H

#include <algorithm>
#include <cstring>
#include <functional>

#include "pixels/picture.h"
#include "simd/rows.h"

namespace veskaro::pixels {

// Whether the three channels of a pixel lie beside each other and pixels without gaps; then order[c] is the place of
// channel c in a pixel and the first pixel begins at the lowest channel.
template <typename Sample>
struct PackedOrder {
  bool isPacked;
  int order[3];

  explicit PackedOrder(const PictureView& p) : isPacked(false), order() {
    if (p.isGrey || p.pixelStride != 3 * static_cast<std::ptrdiff_t>(sizeof(Sample))) return;
    const unsigned char* const first = std::min({p.channel[0], p.channel[1], p.channel[2]}, std::less<>());
    for (int c = 0; c < 3; ++c) {
      const std::ptrdiff_t bytes = p.channel[c] - first;
      if (bytes % static_cast<std::ptrdiff_t>(sizeof(Sample)) != 0 || bytes >= p.pixelStride) return;
      order[c] = static_cast<int>(bytes / static_cast<std::ptrdiff_t>(sizeof(Sample)));
    }
    isPacked = order[0] != order[1] && order[1] != order[2] && order[0] != order[2];
  }

  // The planes in the order in which a pixel holds them, and where the pixel begins.
  simd::RowsOf<Sample> inPixel(const simd::RowsOf<Sample>& rows) const {
    simd::RowsOf<Sample> ordered = rows;
    for (int c = 0; c < 3; ++c) ordered.plane[order[c]] = rows.plane[c];
    return ordered;
  }
  unsigned char* firstOf(const PictureView& p, int x, int y) const {
    return p.at(0, x, y) - order[0] * static_cast<std::ptrdiff_t>(sizeof(Sample));
  }
};

template <typename Sample>
void loadChannel(const unsigned char* from, std::ptrdiff_t stride, int pixels, Sample* to) {
  if (stride == static_cast<std::ptrdiff_t>(sizeof(Sample))) {
    std::memcpy(to, from, sizeof(Sample) * static_cast<std::size_t>(pixels));
    return;
  }
  for (int x = 0; x < pixels; ++x) to[x] = loadSample<Sample>(from + x * stride);
}

template <typename Sample>
void storeChannel(const Sample* from, std::ptrdiff_t stride, int pixels, unsigned char* to) {
  if (stride == static_cast<std::ptrdiff_t>(sizeof(Sample))) {
    std::memcpy(to, from, sizeof(Sample) * static_cast<std::size_t>(pixels));
    return;
  }
  for (int x = 0; x < pixels; ++x) storeSample(to + x * stride, from[x]);
}

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_SAMPLE_ROWS_H
