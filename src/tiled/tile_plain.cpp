// A tile in plain code.
#include <cmath>

#include "blend/blend.h"
#include "dots/dots.h"
#include "pixels/level.h"
#include "pixels/mirror.h"
#include "shrink/shrink.h"
#include "tiled/tile.h"
#include "tiled/tile_pyramid.h"

namespace veskaro::tiled {
namespace {

using pixels::kChannels;

void put(float a, float b, float c, float* to) {
  to[0] = a;
  to[1] = b;
  to[2] = c;
}

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

// The same on the working scale.
template <typename Sample>
pixels::Rgb loadWorking(const pixels::PictureView& picture, int x, int y, const pixels::SampleScale& s) {
  const pixels::Rgb p = loadPixel<Sample>(picture, x, y, s);
  return {p.r * s.blendToWorking, p.g * s.blendToWorking, p.b * s.blendToWorking};
}

// The read region of the picture lands in the tile, around it zeros or its mirror image. False when a sample is not a
// number.
template <typename Sample>
bool fill(const Tile& t, float* to) {
  bool onlyNumbers = true;
  for (int row = 0; row < t.y.tileSize; ++row) {
    for (int column = 0; column < t.x.tileSize; ++column, to += kChannels) {
      const int xOwn = column - t.xInTile(0), yOwn = row - t.yInTile(0);
      const int x = pixels::mirrored(xOwn, t.x.readEnd), y = pixels::mirrored(yOwn, t.y.readEnd);
      const bool isEmpty = (x != xOwn || y != yOwn) && !t.settings.mirrorEdges();
      const pixels::Rgb p = isEmpty ? pixels::Rgb{0.0f, 0.0f, 0.0f} : loadWorking<Sample>(t.in, x, y, t.scale);
      onlyNumbers = onlyNumbers && std::isfinite(p.r) && std::isfinite(p.g) && std::isfinite(p.b);
      put(p.r, p.g, p.b, to);
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

// ---- the stages that look at the guide

float* pixelOf(const Tile& t, float* tile, int x, int y) {
  return tile + pixels::levelSamples(t.x.tileSize, t.yInTile(y)) + pixels::levelSamples(t.xInTile(x), 1);
}

// The filtered region becomes the guide: blended, Y, B - Y, R - Y.
template <typename Sample>
void blendGuide(const Tile& t, float* tile) {
  const pixels::Region r = t.filtered();
  for (int y = r.y0; y < r.y1; ++y) {
    for (int x = r.x0; x < r.x1; ++x) {
      float* const p = pixelOf(t, tile, x, y);
      const pixels::Ycc mixed =
          blend::mixYcc(loadWorking<Sample>(t.in, x, y, t.scale), {p[0], p[1], p[2]}, 1.0f, t.settings.blend);
      put(mixed.y, mixed.bMinusY, mixed.rMinusY, p);
    }
  }
}

// A value of the guide without a dot.
float guideValue(const Tile& t, float* tile, int x, int y, int channel) {
  const float radius = channel == 0 ? t.settings.dots.luma : t.settings.dots.chroma;
  if (!(radius > 0.0f)) return pixelOf(t, tile, x, y)[channel];
  float around[3][3];
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      around[dy + 1][dx + 1] =
          pixelOf(t, tile, pixels::mirrored(x + dx, t.x.readEnd), pixels::mirrored(y + dy, t.y.readEnd))[channel];
    }
  }
  return dots::plain::withoutDot(around, radius);
}

// The pixels of a region, of which what lies outside the picture is its mirror image.
struct StageImages {
  pixels::Region region;
  shrink::plain::Image noisy, guide, result;

  StageImages(const pixels::Region& r, const TileBuffers& b)
      : region(r), noisy(imageIn(b.reduced)), guide(imageIn(b.prediction)), result(imageIn(b.differences)) {}

 private:
  shrink::plain::Image imageIn(float* memory) const { return {memory, region.x1 - region.x0, region.y1 - region.y0}; }
};

template <typename Sample>
void fillImages(const Tile& t, float* tile, const StageImages& images) {
  const pixels::Region& r = images.region;
  for (int row = 0; row < images.guide.height; ++row) {
    for (int column = 0; column < images.guide.width; ++column) {
      const int x = pixels::mirrored(r.x0 + column, t.x.readEnd), y = pixels::mirrored(r.y0 + row, t.y.readEnd);
      put(guideValue(t, tile, x, y, 0), guideValue(t, tile, x, y, 1), guideValue(t, tile, x, y, 2),
          images.guide.at(column, row));
      const pixels::Ycc noisy = pixels::toYcc(loadWorking<Sample>(t.in, x, y, t.scale));
      put(noisy.y, noisy.bMinusY, noisy.rMinusY, images.noisy.at(column, row));
    }
  }
}

template <typename Sample>
void writeImage(const Tile& t, const shrink::plain::Image& image, const pixels::Region& region) {
  const pixels::Region written = t.written();
  for (int y = written.y0; y < written.y1; ++y) {
    for (int x = written.x0; x < written.x1; ++x) {
      const float* p = image.at(x - region.x0, y - region.y0);
      const pixels::Rgb rgb = pixels::toRgb({p[0], p[1], p[2]});
      writePixel<Sample>(t, x, y, {rgb.r * t.scale.toBlend, rgb.g * t.scale.toBlend, rgb.b * t.scale.toBlend});
    }
  }
}

template <typename Sample>
void finishWithStages(const Tile& t, const TileBuffers& b) {
  const pixels::Region w = t.written();
  const shrink::Cover x = shrink::Cover::of(w.x0, w.x1), y = shrink::Cover::of(w.y0, w.y1);
  const bool shrinks = t.settings.shrink.isOnForAny();
  const StageImages images(shrinks ? pixels::Region{x.start, x.end, y.start, y.end} : w, b);
  blendGuide<Sample>(t, b.pyramid);
  fillImages<Sample>(t, b.pyramid, images);
  if (shrinks) shrink::plain::shrink(images.noisy, images.guide, shrink::Rule(t.settings.shrink), images.result);
  writeImage<Sample>(t, shrinks ? images.result : images.guide, images.region);
}

// ----

TileBuffers buffersOf(float* slice, const Tile& t) {
  const std::uint64_t pyramid = kChannels * pyramidPixels(kCoarseLevels, t.x.tileSize, t.y.tileSize);
  float* const differences = slice + pyramid;
  float* const reduced = differences + pyramid;
  return {slice, differences, reduced, reduced + pixels::levelSamples(t.x.tileSize, t.y.tileSize)};
}

template <typename Sample>
bool processSamples(const Tile& t, float* memory) {
  const TileBuffers buffers = buffersOf(memory, t);
  if (!fill<Sample>(t, buffers.pyramid)) return false;
  filterTilePlainly(t.x.tileSize, t.y.tileSize, t.filteredArea(), buffers, t.settings);
  t.settings.haveGuide() ? finishWithStages<Sample>(t, buffers) : finish<Sample>(t, buffers.pyramid);
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
