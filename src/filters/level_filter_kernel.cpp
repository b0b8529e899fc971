// The vector forms of the level filters for hosts' interleaved levels, compiled once for every instruction set.
#include "filters/level_filter_kernel.h"

#include <cstdlib>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/level_filter_kernel.cpp"
#include <hwy/foreach_target.h>

#include "filters/level_stream-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// Zeroed scratch for a stream over the rectangle, or null.
template <class Stream>
float* takeScratch(const Rectangle& area) {
  Arena measure(nullptr);
  const Stream stream(&measure, area);
  return static_cast<float*>(std::calloc(static_cast<std::size_t>(measure.needed()), sizeof(float)));
}

template <class Stream, class Run>
bool runStream(const Rectangle& area, Run run) {
  if (area.isEmpty()) return true;
  float* scratch = takeScratch<Stream>(area);
  if (scratch == nullptr) return false;
  Arena arena(scratch);
  Stream stream(&arena, area);
  run(stream);
  std::free(scratch);
  return true;
}

InterleavedImage imageOf(float* samples, int width) {
  return {samples, std::ptrdiff_t{3} * width};
}

bool filterLevel(int width, const Rectangle& area, const LevelBuffers& b, const params::NoiseSettings& noise,
                 const params::SharpenSettings& sharpening) {
  using Stream = LevelStream<InterleavedImage>;
  const InterleavedImage reduced = imageOf(b.reduced, width);
  const InterleavedImage records = imageOf(b.records, width);
  return runStream<Stream>(area, [&](Stream& s) {
    s.run(imageOf(b.level, width), noise, sharpening, {&reduced, &records});
  });
}

// Y, B - Y, R - Y of a whole level, a piece at a time.
bool toComparisonImage(std::ptrdiff_t pixels, const float* level, float* comparison) {
  constexpr int kPiece = 8 * kMaxLanes;
  float memory[6 * kPiece];
  const Rows rgb = {{memory, memory + kPiece, memory + 2 * kPiece}};
  const Rows ycc = rgb + 3 * kPiece;
  const InterleavedImage from = {const_cast<float*>(level), 3 * kPiece};
  const InterleavedImage to = {comparison, 3 * kPiece};
  for (int piece = 0; pixels > 0; ++piece, pixels -= kPiece) {
    const int count = pixels < kPiece ? static_cast<int>(pixels) : kPiece;
    from.load(0, piece, count, rgb);
    toComparisonRow(rgb, 0, count, ycc);
    to.store(ycc, 0, piece, count);
  }
  return true;
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

struct NoiseStream {
  NoiseStream(Arena* arena, const Rectangle&) : noise(arena), rows(arena) {}
  NoiseStage noise;
  StripRing<3> rows;  // own, reduced, records
};

bool reduceNoise(int width, const Rectangle& area, const float* level, const float* comparison, float* records,
                 float* dest, const params::NoiseSettings& settings) {
  const InterleavedImage levelImage = imageOf(const_cast<float*>(level), width);
  const InterleavedImage comparisonImage = imageOf(const_cast<float*>(comparison), width);
  const InterleavedImage destImage = imageOf(dest, width);
  const InterleavedImage recordImage = imageOf(records, width);
  return runStream<NoiseStream>(area, [&](NoiseStream& s) {
    streamRows(area, [&](int t, int x, int y, int columns) {
      loadWithReach(levelImage, x, y, columns, s.noise.level(t));
      loadWithReach(comparisonImage, x, y, columns, s.noise.comparison(t));
      s.noise.rowsLoaded(t, -kReach, columns + kReach);
      if (t >= kReach) s.noise.computeDistances(t - kReach, 0, columns);
      if (t < 2 * kReach) return;
      destImage.load(x, y - kReach, columns, s.rows.at(0).rows());
      s.noise.reduce(t - kReach, 0, columns, s.rows.at(0), s.rows.at(1), s.rows.at(2), settings);
      destImage.store(s.rows.at(1).rows(), x, y - kReach, columns);
      recordImage.store(s.rows.at(2).rows(), x, y - kReach, columns);
    });
  });
}

struct SharpenStream {
  SharpenStream(Arena* arena, const Rectangle&) : sharpen(arena), records(arena) {}
  SharpenStage sharpen;
  StripRing<1> records;
};

bool sharpen(int width, const Rectangle& area, const float* reduced, const float* records, float* dest,
             const params::SharpenSettings& settings) {
  const InterleavedImage reducedImage = imageOf(const_cast<float*>(reduced), width);
  const InterleavedImage recordImage = imageOf(const_cast<float*>(records), width);
  const InterleavedImage destImage = imageOf(dest, width);
  return runStream<SharpenStream>(area, [&](SharpenStream& s) {
    streamRows(area, [&](int t, int x, int y, int columns) {
      loadWithReach(reducedImage, x, y, columns, s.sharpen.reduced(t));
      s.sharpen.rowLoaded(t, -kReach, columns + kReach);
      if (t >= kReach) s.sharpen.computeDistances(t - kReach, 0, columns);
      if (t < 2 * kReach) return;
      recordImage.load(x, y - kReach, columns, s.records.at(0).rows());
      s.sharpen.sharpen(t - kReach, 0, columns, s.records.at(0), settings);
      destImage.store(s.sharpen.sharpened().rows(), x, y - kReach, columns);
    });
  });
}

#else

bool toComparisonImage(std::ptrdiff_t, const float*, float*) {
  return false;
}
bool filterLevel(int, const Rectangle&, const LevelBuffers&, const params::NoiseSettings&,
                 const params::SharpenSettings&) {
  return false;
}
bool reduceNoise(int, const Rectangle&, const float*, const float*, float*, float*, const params::NoiseSettings&) {
  return false;
}
bool sharpen(int, const Rectangle&, const float*, const float*, float*, const params::SharpenSettings&) {
  return false;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro {
namespace {
HWY_EXPORT(toComparisonImage);
HWY_EXPORT(filterLevel);
HWY_EXPORT(reduceNoise);
HWY_EXPORT(sharpen);
}  // namespace

namespace vectors {

bool toComparisonImage(std::ptrdiff_t pixels, const float* level, float* comparison) {
  return HWY_DYNAMIC_DISPATCH(toComparisonImage)(pixels, level, comparison);
}

bool filterLevel(int width, const Rectangle& area, const LevelBuffers& buffers, const params::NoiseSettings& noise,
                 const params::SharpenSettings& sharpening) {
  return HWY_DYNAMIC_DISPATCH(filterLevel)(width, area, buffers, noise, sharpening);
}

bool reduceNoise(int width, const Rectangle& area, const float* level, const float* comparison, float* records,
                 float* dest, const params::NoiseSettings& settings) {
  return HWY_DYNAMIC_DISPATCH(reduceNoise)(width, area, level, comparison, records, dest, settings);
}

bool sharpen(int width, const Rectangle& area, const float* reduced, const float* records, float* dest,
             const params::SharpenSettings& settings) {
  return HWY_DYNAMIC_DISPATCH(sharpen)(width, area, reduced, records, dest, settings);
}

}  // namespace vectors
}  // namespace veskaro
#endif  // HWY_ONCE
