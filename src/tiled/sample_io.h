#ifndef VESKARO_TILED_SAMPLE_IO_H
#define VESKARO_TILED_SAMPLE_IO_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tiled/tile_geometry.h"

namespace veskaro {

// The host's pictures: interleaved RGB, any alignment.
struct Pictures {
  const unsigned char* in;
  unsigned char* out;
  int width, height;
  int rowStride;  // samples from row to row
  int bits;       // 8 or 16

  std::ptrdiff_t sampleBytes() const { return bits / 8; }
  std::ptrdiff_t rowOffset(int x, int y) const {
    return (std::ptrdiff_t{y} * rowStride + std::ptrdiff_t{x} * 3) * sampleBytes();
  }
};

// Samples of a host's picture may lie at any address.
template <typename Sample>
Sample loadSample(const unsigned char* row, std::ptrdiff_t index) {
  Sample value;
  std::memcpy(&value, row + index * static_cast<std::ptrdiff_t>(sizeof(Sample)), sizeof(Sample));
  return value;
}

template <typename Sample>
void storeSample(unsigned char* row, std::ptrdiff_t index, Sample value) {
  std::memcpy(row + index * static_cast<std::ptrdiff_t>(sizeof(Sample)), &value, sizeof(Sample));
}

// Truncates towards zero into the range of the sample; not a number gives 0.
template <typename Sample, typename Value>
Sample truncateToSample(Value value) {
  constexpr Value kMost = static_cast<Sample>(~Sample{0});
  if (!(value > 0)) return 0;
  return static_cast<Sample>(value < kMost ? static_cast<int>(value) : static_cast<int>(kMost));
}

// Copies the read region of the tile into a float tile of x.tileSize columns on the 8-bit scale.
void fillTile(const Pictures& pictures, const TileSpan& x, const TileSpan& y, float* tile);

// Writes the main region of the tile to the output picture.
void writeMainRegion(const Pictures& pictures, const TileSpan& x, const TileSpan& y, const float* tile);

}  // namespace veskaro

#endif  // VESKARO_TILED_SAMPLE_IO_H
