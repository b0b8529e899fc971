// A whole tile in vectors, compiled once for every instruction set. The pyramid is planar: each level is three planes
// of padded rows. Rebuilding a level needs no stored difference, and only the pixels that the tile's main region comes
// from are rebuilt.
#include "tiled/tile_kernel.h"

#include <cstdint>

#include "filters/neighbour_weights.h"
#include "pixels/level.h"
#include "pixels/rectangle.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tiled/tile_kernel.cpp"
#include <hwy/foreach_target.h>

#include "filters/level_stream-inl.h"
#include "pyramid/reconstruct_row-inl.h"
#include "tiled/recombine-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
using filters::kReach;
using pixels::coarseSize;
using pixels::Rectangle;
using simd::Arena;
using simd::kMaxLanes;
using simd::roundUpToLanes;
using simd::Rows;
using simd::RowsOf;
#if VESKARO_HAS_VECTORS
using filters::HWY_NAMESPACE::LevelStream;
using pyramid::HWY_NAMESPACE::GuideRing;
using pyramid::HWY_NAMESPACE::Rebuild;
using pyramid::HWY_NAMESPACE::reconstructRow;

struct PlanarLevel {
  int w, h;
  PlanarImage image;
};

// The memory of a tile: its levels, the scratch of the step that runs, and a row of samples.
struct TileMemory {
  PlanarLevel level[kCoarseLevels + 1];
  RowsOf<std::uint16_t> samples;  // of either depth
  Arena scratch;

  TileMemory(Arena* arena, int w, int h) : scratch(nullptr) {
    for (PlanarLevel& l : level) {
      // Kernels write whole vectors of column pairs: room for one behind every row.
      const std::ptrdiff_t pitch = roundUpToLanes(w) + 2 * kMaxLanes;
      l = {w, h, {{arena->take(pitch * h), arena->take(pitch * h), arena->take(pitch * h)}, pitch}};
      w = coarseSize(w);
      h = coarseSize(h);
    }
    // Samples are (de)interleaved in blocks of a whole vector of bytes.
    for (std::uint16_t*& plane : samples.plane) {
      plane = reinterpret_cast<std::uint16_t*>(arena->take(level[0].w / 2 + 2 * kMaxLanes));
    }
    scratch = *arena;
  }

  template <typename Sample>
  RowsOf<Sample> sampleRow() const {
    return {{reinterpret_cast<Sample*>(samples.plane[0]), reinterpret_cast<Sample*>(samples.plane[1]),
             reinterpret_cast<Sample*>(samples.plane[2])}};
  }
};

void zeroColumns(const Rows& row, int xStart, int xEnd) {
  for (float* plane : row.plane)
    std::memset(plane + xStart, 0, sizeof(float) * static_cast<std::size_t>(xEnd - xStart));
}

// The read region of the picture lands in the tile, zeros around it.
template <typename Sample>
void fill(const Pictures& pictures, const TileSpan& x, const TileSpan& y, const TileMemory& m) {
  const PlanarLevel& tile = m.level[0];
  const int pixels = x.readEnd - x.readStart;
  const RowsOf<Sample> samples = m.sampleRow<Sample>();
  for (int r = 0; r < tile.h; ++r) {
    const Rows row = tile.image.row(r);
    const int yRead = y.readStart + r - y.tileStart;
    if (yRead < y.readStart || yRead >= y.readEnd) {
      zeroColumns(row, 0, tile.w);
      continue;
    }
    deinterleaveRow(pictures.in + pictures.rowOffset(x.readStart, yRead), pixels, samples);
    widenSamples(samples, pixels, row + x.tileStart);
    zeroColumns(row, 0, x.tileStart);
    zeroColumns(row, x.tileStart + pixels, tile.w);
  }
}

void filterLevel(const PlanarLevel& level, const Rectangle& area, const params::NoiseSettings& noise,
                 const params::SharpenSettings& sharpening, Arena scratch) {
  if (area.isEmpty()) return;
  LevelStream<PlanarImage>(&scratch, area).run(level.image, noise, sharpening, {});
}

void lift(const PlanarLevel& fine, const PlanarLevel& coarse) {
  const Floats d;
  for (int y = 0; y < coarse.h; ++y) {
    const Rows from = fine.image.row(2 * y);
    const Rows to = coarse.image.row(y);
    for (int i = 0; i < coarse.w; i += lanes()) {
      for (int k = 0; k < 3; ++k) {
        V even, odd;
        hn::LoadInterleaved2(d, from.plane[k] + 2 * i, even, odd);
        hn::StoreU(even, d, to.plane[k] + i);
      }
    }
  }
}

// Rebuilds the pixels of area, which keeps off the level's frame, from the changed coarse level.
void rebuild(const PlanarLevel& fine, const PlanarLevel& coarse, const Rectangle& area,
             const params::ReconstructSettings& s, Arena scratch) {
  GuideRing guide(&scratch, fine.w);
  const int iStart = area.xStart / 2;
  const int iEnd = (area.xEnd + 1) / 2;
  const auto split = [&](int y) { guide.split(y, fine.image.row(y), iStart, iEnd + 1); };
  split(area.yStart - 1);
  split(area.yStart);
  for (int y = area.yStart; y < area.yEnd; ++y) {
    split(y + 1);
    reconstructRow<Rebuild>(guide, y, coarse.image.row(y / 2), coarse.image.row((y + 1) / 2), fine.image.row(y), iStart,
                            iEnd, s);
  }
}

// The coarse pixels that the pixels of a fine area are interpolated from, off the coarse level's frame.
Rectangle coarseArea(const Rectangle& fine, const PlanarLevel& coarse) {
  const auto end = [](int fineEnd, int size) { return fineEnd / 2 + 1 < size - 1 ? fineEnd / 2 + 1 : size - 1; };
  const auto start = [](int fineStart) { return fineStart / 2 > 1 ? fineStart / 2 : 1; };
  return {start(fine.xStart), end(fine.xEnd, coarse.w), start(fine.yStart), end(fine.yEnd, coarse.h)};
}

void filterPyramid(const TileMemory& m, const Rectangle& mainArea, const params::TileSettings& s) {
  Rectangle rebuilt[kCoarseLevels];
  filterLevel(m.level[0], mainArea, s.noise[0], s.sharpen[0], m.scratch);
  for (int k = 0; k < kCoarseLevels; ++k) {
    const PlanarLevel& coarse = m.level[k + 1];
    rebuilt[k] = k == 0 ? mainArea : coarseArea(rebuilt[k - 1], m.level[k]);
    lift(m.level[k], coarse);
    filterLevel(coarse, {kReach, coarse.w - kReach, kReach, coarse.h - kReach}, s.noise[k + 1], s.sharpen[k + 1],
                m.scratch);
  }
  for (int k = kCoarseLevels - 1; k >= 0; --k) {
    rebuild(m.level[k], m.level[k + 1], rebuilt[k], s.reconstruct, m.scratch);
  }
}

// The main region of the tile, blended with the input, goes to the output.
template <typename Sample>
void finish(const Pictures& pictures, const TileSpan& x, const TileSpan& y, const TileMemory& m,
            const params::BlendSettings& s) {
  const RowsOf<Sample> samples = m.sampleRow<Sample>();
  for (int r = 0; r < y.mainSize; ++r) {
    const std::ptrdiff_t offset = pictures.rowOffset(x.mainStart, y.mainStart + r);
    deinterleaveRow(pictures.in + offset, x.mainSize, samples);
    recombineRow(m.level[0].image.row(y.tileMainStart + r) + x.tileMainStart, x.mainSize, samples, s);
    interleaveRow(samples, x.mainSize, pictures.out + offset);
  }
}

template <typename Sample>
void processTileOf(const Pictures& pictures, const TileSpan& x, const TileSpan& y, const params::TileSettings& s,
                   const TileMemory& m) {
  fill<Sample>(pictures, x, y, m);
  filterPyramid(m, {x.tileMainStart, x.tileMainStart + x.mainSize, y.tileMainStart, y.tileMainStart + y.mainSize}, s);
  finish<Sample>(pictures, x, y, m, s.blend);
}

void processTile(const Pictures& pictures, const TileSpan& x, const TileSpan& y, const params::TileSettings& s,
                 float* memory) {
  Arena arena(memory);
  const TileMemory m(&arena, x.tileSize, y.tileSize);
  if (pictures.bits == 8) {
    processTileOf<std::uint8_t>(pictures, x, y, s, m);
  } else {
    processTileOf<std::uint16_t>(pictures, x, y, s, m);
  }
}

std::size_t tileFloats(int w, int h) {
  Arena arena(nullptr);
  const TileMemory m(&arena, w, h);
  Arena filterScratch = m.scratch;
  const LevelStream<PlanarImage> stream(&filterScratch, {kReach, w - kReach, kReach, h - kReach});
  Arena rebuildScratch = m.scratch;
  const GuideRing guide(&rebuildScratch, w);
  return static_cast<std::size_t>(filterScratch.needed() > rebuildScratch.needed() ? filterScratch.needed()
                                                                                   : rebuildScratch.needed());
}

#else

void processTile(const Pictures&, const TileSpan&, const TileSpan&, const params::TileSettings&, float*) {}
std::size_t tileFloats(int, int) {
  return 0;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro {
namespace {
HWY_EXPORT(processTile);
HWY_EXPORT(tileFloats);
}  // namespace

namespace vectors {

std::size_t tileFloats(int w, int h) {
  return HWY_DYNAMIC_DISPATCH(tileFloats)(w, h);
}

void processTile(const Pictures& pictures, const TileSpan& x, const TileSpan& y, const params::TileSettings& settings,
                 float* memory) {
  HWY_DYNAMIC_DISPATCH(processTile)(pictures, x, y, settings, memory);
}

}  // namespace vectors
}  // namespace veskaro
#endif  // HWY_ONCE
