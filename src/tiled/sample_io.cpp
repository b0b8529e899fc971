// Samples of the host's pictures to float tiles on the 8-bit scale and back.
#include "tiled/sample_io.h"

#include "pixels/level.h"

namespace veskaro {
namespace {

using pixels::levelSamples;

void widenRow(const Pictures& p, const unsigned char* from, std::ptrdiff_t samples, float* to) {
  if (p.bits == 8) {
    for (std::ptrdiff_t k = 0; k < samples; ++k) to[k] = static_cast<float>(from[k]);
  } else {
    constexpr float kOneOver256 = 0.00390625f;
    for (std::ptrdiff_t k = 0; k < samples; ++k) {
      to[k] = static_cast<float>(loadSample<std::uint16_t>(from, k)) * kOneOver256;
    }
  }
}

void narrowRow(const Pictures& p, const float* from, std::ptrdiff_t samples, unsigned char* to) {
  if (p.bits == 8) {
    for (std::ptrdiff_t k = 0; k < samples; ++k) to[k] = truncateToSample<std::uint8_t>(from[k]);
  } else {
    for (std::ptrdiff_t k = 0; k < samples; ++k) {
      storeSample(to, k, truncateToSample<std::uint16_t>(static_cast<double>(from[k]) * 256.0));
    }
  }
}

}  // namespace

void fillTile(const Pictures& pictures, const TileSpan& x, const TileSpan& y, float* tile) {
  const std::ptrdiff_t samples = levelSamples(x.readEnd - x.readStart, 1);
  for (int r = 0; r < y.readEnd - y.readStart; ++r) {
    float* to = tile + levelSamples(x.tileSize, y.tileStart + r) + levelSamples(x.tileStart, 1);
    widenRow(pictures, pictures.in + pictures.rowOffset(x.readStart, y.readStart + r), samples, to);
  }
}

void writeMainRegion(const Pictures& pictures, const TileSpan& x, const TileSpan& y, const float* tile) {
  const std::ptrdiff_t samples = levelSamples(x.mainSize, 1);
  for (int r = 0; r < y.mainSize; ++r) {
    const float* from = tile + levelSamples(x.tileSize, y.tileMainStart + r) + levelSamples(x.tileMainStart, 1);
    narrowRow(pictures, from, samples, pictures.out + pictures.rowOffset(x.mainStart, y.mainStart + r));
  }
}

}  // namespace veskaro
