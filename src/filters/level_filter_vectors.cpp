// The vector forms of the level filters for hosts' interleaved levels, compiled once for every instruction set.
#include "filters/level_filter_vectors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/level_filter_vectors.cpp"
#include <hwy/foreach_target.h>

#include "filters/level_stream-inl.h"
#include "simd/scratch.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::filters::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
using pixels::LevelLayout;
using pixels::Rectangle;
using simd::VectorResult;
#if VESKARO_HAS_VECTORS

InterleavedImage imageOf(float* samples, const LevelLayout& layout) {
  return {samples, layout.rowFloats()};
}

// Y, B - Y, R - Y of a whole level, a piece at a time.
VectorResult toComparisonImage(const LevelLayout& layout, std::ptrdiff_t count, const LevelBuffers& b) {
  if (!layout.isPacked()) return VectorResult::kPlainFormNeeded;
  constexpr int kPiece = 8 * simd::kMaxLanes;
  float memory[6 * kPiece];
  const simd::Rows rgb = {{memory, memory + kPiece, memory + 2 * kPiece}};
  const simd::Rows ycc = rgb + 3 * kPiece;
  const InterleavedImage from = {b.level, pixels::kChannels * kPiece};
  const InterleavedImage to = {b.comparison, pixels::kChannels * kPiece};
  for (int piece = 0; count > 0; ++piece, count -= kPiece) {
    const int columns = count < kPiece ? static_cast<int>(count) : kPiece;
    from.load(0, piece, columns, rgb);
    toComparisonRow(rgb, 0, columns, ycc);
    to.store(ycc, 0, piece, columns);
  }
  return VectorResult::kDone;
}

VectorResult filterLevel(const LevelLayout& layout, const Rectangle& area, const LevelBuffers& b,
                         const params::NoiseSettings& noise, const params::SharpenSettings& sharpening) {
  if (!layout.isPacked()) return VectorResult::kPlainFormNeeded;
  if (area.isEmpty()) return VectorResult::kDone;
  simd::Scratch<LevelStream<InterleavedImage>> stream(area);
  if (!stream) return VectorResult::kNoMemory;
  const InterleavedImage reduced = imageOf(b.reduced, layout);
  const InterleavedImage noiseMap = imageOf(b.noiseMap, layout);
  stream->run(imageOf(b.level, layout), noise, sharpening, {&reduced, &noiseMap});
  return VectorResult::kDone;
}

// The rows that a strip of one filter alone reads: row t of the strip is row y of the level, and once it has been
// loaded row t - 2 is filtered. Strips need no margins here: what they read is not what they write.
template <class Step>
void streamRows(const Rectangle& area, Step step) {
  for (int x = area.xStart; x < area.xEnd; x += kStripColumns) {
    const int columns = area.xEnd - x < kStripColumns ? area.xEnd - x : kStripColumns;
    for (int t = 0; t < area.yEnd - area.yStart + 2 * kReach; ++t) step(t, x, area.yStart - kReach + t, columns);
  }
}

void loadWithReach(const InterleavedImage& image, int x, int y, int columns, const StripRow& row) {
  image.load(x - kReach, y, columns + 2 * kReach, row.rows() + -kReach);
}

struct NoiseScratch {
  explicit NoiseScratch(simd::Arena* arena) : noise(arena), own(arena), reduced(arena), noiseMap(arena) {}
  NoiseStage<PixelDistances> noise;
  StripRing<1> own, reduced, noiseMap;
};

VectorResult reduceNoise(const LevelLayout& layout, const Rectangle& area, const LevelBuffers& b,
                         const params::NoiseSettings& settings) {
  if (!layout.isPacked()) return VectorResult::kPlainFormNeeded;
  if (area.isEmpty()) return VectorResult::kDone;
  simd::Scratch<NoiseScratch> scratch;
  if (!scratch) return VectorResult::kNoMemory;
  NoiseScratch& s = *scratch;
  const StripRow own = s.own.at(0), reduced = s.reduced.at(0), noiseMap = s.noiseMap.at(0);
  const InterleavedImage reducedImage = imageOf(b.reduced, layout);
  streamRows(area, [&](int t, int x, int y, int columns) {
    loadWithReach(imageOf(b.level, layout), x, y, columns, s.noise.level(t));
    loadWithReach(imageOf(b.comparison, layout), x, y, columns, s.noise.comparison(t));
    s.noise.rowsLoaded(t, -kReach, columns + kReach);
    if (t >= kReach) s.noise.computeDistances(t - kReach, 0, columns, settings);
    if (t < 2 * kReach) return;
    reducedImage.load(x, y - kReach, columns, own.rows());
    s.noise.reduce(t - kReach, 0, columns, own, reduced, noiseMap, settings);
    reducedImage.store(reduced.rows(), x, y - kReach, columns);
    imageOf(b.noiseMap, layout).store(noiseMap.rows(), x, y - kReach, columns);
  });
  return VectorResult::kDone;
}

struct SharpenScratch {
  explicit SharpenScratch(simd::Arena* arena) : sharpen(arena), noiseMap(arena) {}
  SharpenStage sharpen;
  StripRing<1> noiseMap;
};

VectorResult sharpen(const LevelLayout& layout, const Rectangle& area, const LevelBuffers& b,
                     const params::SharpenSettings& settings) {
  if (!layout.isPacked()) return VectorResult::kPlainFormNeeded;
  if (area.isEmpty()) return VectorResult::kDone;
  simd::Scratch<SharpenScratch> scratch;
  if (!scratch) return VectorResult::kNoMemory;
  SharpenScratch& s = *scratch;
  const StripRow noiseMap = s.noiseMap.at(0);
  streamRows(area, [&](int t, int x, int y, int columns) {
    loadWithReach(imageOf(b.reduced, layout), x, y, columns, s.sharpen.reduced(t));
    s.sharpen.rowLoaded(t, -kReach, columns + kReach);
    if (t >= kReach) s.sharpen.computeDistances(t - kReach, 0, columns);
    if (t < 2 * kReach) return;
    imageOf(b.noiseMap, layout).load(x, y - kReach, columns, noiseMap.rows());
    s.sharpen.sharpen(t - kReach, 0, columns, noiseMap, settings);
    imageOf(b.level, layout).store(s.sharpen.sharpened().rows(), x, y - kReach, columns);
  });
  return VectorResult::kDone;
}

#else

VectorResult toComparisonImage(const LevelLayout&, std::ptrdiff_t, const LevelBuffers&) {
  return VectorResult::kPlainFormNeeded;
}
VectorResult filterLevel(const LevelLayout&, const Rectangle&, const LevelBuffers&, const params::NoiseSettings&,
                         const params::SharpenSettings&) {
  return VectorResult::kPlainFormNeeded;
}
VectorResult reduceNoise(const LevelLayout&, const Rectangle&, const LevelBuffers&, const params::NoiseSettings&) {
  return VectorResult::kPlainFormNeeded;
}
VectorResult sharpen(const LevelLayout&, const Rectangle&, const LevelBuffers&, const params::SharpenSettings&) {
  return VectorResult::kPlainFormNeeded;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::filters::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro::filters {
namespace {
HWY_EXPORT(toComparisonImage);
HWY_EXPORT(filterLevel);
HWY_EXPORT(reduceNoise);
HWY_EXPORT(sharpen);
}  // namespace

namespace vectors {

simd::VectorResult toComparisonImage(const pixels::LevelLayout& layout, std::ptrdiff_t count, const LevelBuffers& b) {
  return HWY_DYNAMIC_DISPATCH(toComparisonImage)(layout, count, b);
}

simd::VectorResult filterLevel(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                               const params::NoiseSettings& noise, const params::SharpenSettings& sharpening) {
  return HWY_DYNAMIC_DISPATCH(filterLevel)(layout, area, b, noise, sharpening);
}

simd::VectorResult reduceNoise(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                               const params::NoiseSettings& settings) {
  return HWY_DYNAMIC_DISPATCH(reduceNoise)(layout, area, b, settings);
}

simd::VectorResult sharpen(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                           const params::SharpenSettings& settings) {
  return HWY_DYNAMIC_DISPATCH(sharpen)(layout, area, b, settings);
}

}  // namespace vectors
}  // namespace veskaro::filters
#endif  // HWY_ONCE
