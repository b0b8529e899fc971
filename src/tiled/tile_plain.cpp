// A tile in plain code.
#include <cstring>

#include "blend/blend.h"
#include "pixels/level.h"
#include "tiled/tile.h"
#include "tiled/tile_pyramid.h"

namespace veskaro::tiled {
namespace {

using pixels::kChannels;

// A sample on the scale of the blend: integers as they are, floats on the working scale.
template <typename Sample>
float blendValue(const unsigned char* at, const pixels::SampleScale& s) {
  const float v = static_cast<float>(pixels::loadSample<Sample>(at));
  if (std::is_integral_v<Sample>) return v < s.white ? v : s.white;
  return pixels::toWorking(v, s);
}

template <typename Sample>
void storeBlended(float value, unsigned char* at, const pixels::SampleScale& s) {
  const float v = pixels::rounded(value, s);
  if constexpr (std::is_integral_v<Sample>) {
    pixels::storeSample(at, static_cast<Sample>(static_cast<int>(v)));
  } else {
    pixels::storeSample(at, pixels::fromWorking(v, s));
  }
}

template <typename Sample>
pixels::Rgb loadPixel(const pixels::PictureView& picture, int x, int y, const pixels::SampleScale& s) {
  return {blendValue<Sample>(picture.at(0, x, y), s), blendValue<Sample>(picture.at(1, x, y), s),
          blendValue<Sample>(picture.at(2, x, y), s)};
}

// The read region of the picture lands in the tile. False when a sample is not a number.
template <typename Sample>
bool fill(const Tile& t, float* tile) {
  bool onlyNumbers = true;
  for (int y = t.y.readStart; y < t.y.readEnd; ++y) {
    float* to = tile + pixels::levelSamples(t.x.tileSize, t.y.tileStart + y - t.y.readStart) +
                pixels::levelSamples(t.x.tileStart, 1);
    for (int x = t.x.readStart; x < t.x.readEnd; ++x) {
      for (int k = 0; k < kChannels; ++k, ++to) {
        *to = blendValue<Sample>(t.in.at(k, x, y), t.scale) * t.scale.blendToWorking;
        if (!std::isfinite(*to)) onlyNumbers = false;
      }
    }
  }
  return onlyNumbers;
}

template <typename Sample>
pixels::Rgb filteredPixel(const Tile& t, const float* p) {
  const auto value = [&t](float working) {
    const float v = working * t.scale.toBlend;
    return t.scale.rounding == pixels::Rounding::kTruncate ? pixels::truncated(v, t.scale.most) : v;
  };
  return {value(p[0]), value(p[1]), value(p[2])};
}

template <typename Sample>
void writePixel(const Tile& t, int x, int y, const pixels::Rgb& p) {
  if (!t.out.isGrey) {
    storeBlended<Sample>(p.r, t.out.at(0, x, y), t.scale);
    storeBlended<Sample>(p.b, t.out.at(2, x, y), t.scale);
  }
  storeBlended<Sample>(p.g, t.out.at(1, x, y), t.scale);
}

// What is written of the main region, blended with the input.
template <typename Sample>
void finish(const Tile& t, const float* tile) {
  const pixels::Region written = t.written();
  for (int y = written.y0; y < written.y1; ++y) {
    const float* from = tile + pixels::levelSamples(t.x.tileSize, t.yInTile(y));
    for (int x = written.x0; x < written.x1; ++x) {
      const pixels::Rgb filtered = filteredPixel<Sample>(t, from + kChannels * t.xInTile(x));
      writePixel<Sample>(
          t, x, y,
          blend::mixPixel(loadPixel<Sample>(t.in, x, y, t.scale), filtered, t.scale.blendToWorking, t.settings.blend));
    }
  }
}

TileBuffers buffersOf(float* slice, const Tile& t) {
  const std::uint64_t pyramid = kChannels * pyramidPixels(kCoarseLevels, t.x.tileSize, t.y.tileSize);
  float* const differences = slice + pyramid;
  float* const reduced = differences + pyramid;
  return {slice, differences, reduced, reduced + pixels::levelSamples(t.x.tileSize, t.y.tileSize)};
}

template <typename Sample>
bool processSamples(const Tile& t, float* memory) {
  const TileBuffers buffers = buffersOf(memory, t);
  std::memset(buffers.pyramid, 0,
              static_cast<std::size_t>(pixels::levelSamples(t.x.tileSize, t.y.tileSize)) * sizeof(float));
  if (!fill<Sample>(t, buffers.pyramid)) return false;
  const pixels::Rectangle mainArea = {t.x.tileMainStart, t.x.tileMainStart + t.x.mainSize, t.y.tileMainStart,
                                      t.y.tileMainStart + t.y.mainSize};
  filterTilePlainly(t.x.tileSize, t.y.tileSize, mainArea, buffers, t.settings);
  finish<Sample>(t, buffers.pyramid);
  return true;
}

bool process(const Tile& t, float* memory) {
  return pixels::withSampleType(t.in.type, [&](auto sample) { return processSamples<decltype(sample)>(t, memory); });
}

}  // namespace

Engine plainEngine(const TileGrid& grid) {
  return {process, sliceLayout(grid).floats()};
}

}  // namespace veskaro::tiled
