// A picture, or a piece of one, in a host's memory.
#ifndef VESKARO_PIXELS_PICTURE_H
#define VESKARO_PIXELS_PICTURE_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace veskaro::pixels {

enum class SampleType { kUint8, kUint16, kFloat32 };
enum class Encoding { kDisplay, kLinear };

// Pixels of the whole picture; ends are exclusive.
struct Region {
  int x0, x1, y0, y1;

  bool isEmpty() const { return x0 >= x1 || y0 >= y1; }
  bool operator!=(const Region& r) const { return x0 != r.x0 || x1 != r.x1 || y0 != r.y0 || y1 != r.y1; }
  bool contains(const Region& r) const { return r.x0 >= x0 && r.x1 <= x1 && r.y0 >= y0 && r.y1 <= y1; }
};

inline Region intersection(const Region& a, const Region& b) {
  return {a.x0 > b.x0 ? a.x0 : b.x0, a.x1 < b.x1 ? a.x1 : b.x1, a.y0 > b.y0 ? a.y0 : b.y0, a.y1 < b.y1 ? a.y1 : b.y1};
}

// Sample (x, y) of channel c, in coordinates of the whole picture, lies (y - region.y0) * rowStride +
// (x - region.x0) * pixelStride bytes from channel[c], at any alignment.
struct PictureView {
  SampleType type;
  bool isGrey;  // one channel, which channel[0] to channel[2] all name
  unsigned char* channel[3];
  std::ptrdiff_t pixelStride, rowStride;
  Region region;

  unsigned char* at(int c, int x, int y) const {
    return channel[c] + (std::ptrdiff_t{y} - region.y0) * rowStride + (std::ptrdiff_t{x} - region.x0) * pixelStride;
  }
};

constexpr int sampleBytes(SampleType type) {
  return type == SampleType::kUint8 ? 1 : type == SampleType::kUint16 ? 2 : 4;
}

template <typename Sample>
Sample loadSample(const unsigned char* at) {
  Sample value;
  std::memcpy(&value, at, sizeof(Sample));
  return value;
}

template <typename Sample>
void storeSample(unsigned char* at, Sample value) {
  std::memcpy(at, &value, sizeof(Sample));
}

// Calls visit with a value of the sample's type.
template <class Visit>
auto withSampleType(SampleType type, const Visit& visit) {
  switch (type) {
    case SampleType::kUint8:
      return visit(std::uint8_t{});
    case SampleType::kUint16:
      return visit(std::uint16_t{});
    default:
      return visit(float{});
  }
}

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_PICTURE_H
