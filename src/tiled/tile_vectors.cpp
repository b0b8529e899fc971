// A tile in vectors, compiled once for every instruction set. The pyramid is planar: each level is three planes of
// padded rows. Rebuilding a level needs no stored difference, and only the pixels that the tile's main region comes
// from are rebuilt.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "filters/neighbour_weights.h"
#include "pixels/level.h"
#include "pixels/rectangle.h"
#include "tiled/tile.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tiled/tile_vectors.cpp"
#include <hwy/foreach_target.h>

#include "blend/blend-inl.h"
#include "filters/level_stream-inl.h"
#include "pixels/samples-inl.h"
#include "pyramid/reconstruct_row-inl.h"
#include "tiled/stages-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::tiled::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
using filters::kReach;
using pixels::coarseSize;
using pixels::Rectangle;
using pixels::Rounding;
using simd::Arena;
using simd::kMaxLanes;
using simd::roundUpToLanes;
using simd::Rows;
using simd::RowsOf;
#if VESKARO_HAS_VECTORS
using blend::HWY_NAMESPACE::mixPixels;
using filters::HWY_NAMESPACE::LevelStream;
using filters::HWY_NAMESPACE::PatchDistances;
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
  float* samples[3];  // a row of each channel's samples, of any type
  Arena scratch;

  TileMemory(Arena* arena, int w, int h, int sampleBytes) : scratch(nullptr) {
    for (PlanarLevel& l : level) {
      // Kernels write whole vectors of column pairs: room for one behind every row.
      const std::ptrdiff_t pitch = roundUpToLanes(w) + 2 * kMaxLanes;
      l = {w, h, {{arena->take(pitch * h), arena->take(pitch * h), arena->take(pitch * h)}, pitch}};
      w = coarseSize(w);
      h = coarseSize(h);
    }
    // Samples are (de)interleaved in blocks of a whole vector of bytes.
    const std::ptrdiff_t rowFloats = (std::ptrdiff_t{level[0].w} * sampleBytes + 3) / 4 + 2 * kMaxLanes;
    for (float*& plane : samples) plane = arena->take(rowFloats);
    scratch = *arena;
  }

  template <typename Sample>
  RowsOf<Sample> sampleRow() const {
    return {{reinterpret_cast<Sample*>(samples[0]), reinterpret_cast<Sample*>(samples[1]),
             reinterpret_cast<Sample*>(samples[2])}};
  }
};

void zeroColumns(const Rows& row, int xStart, int xEnd) {
  for (float* plane : row.plane)
    std::memset(plane + xStart, 0, sizeof(float) * static_cast<std::size_t>(xEnd - xStart));
}

// The read region of the picture lands in the tile, around it zeros or its mirror image. False when a sample is
// infinite or not a number.
template <typename Sample>
bool fill(const Tile& t, const TileMemory& m) {
  const PlanarLevel& tile = m.level[0];
  const int pixels = t.x.readEnd - t.x.readStart;
  const RowsOf<Sample> samples = m.sampleRow<Sample>();
  const bool mirrors = t.settings.mirrorEdges();
  for (int r = 0; r < tile.h; ++r) {
    const Rows row = tile.image.row(r);
    const int own = t.y.readStart + r - t.y.tileStart, y = pixels::mirrored(own, t.y.readEnd);
    if (y != own && !mirrors) {
      zeroColumns(row, 0, tile.w);
      continue;
    }
    loadRow(t.in, t.x.readStart, y, pixels, samples);
    if (!toWorkingRow(samples, pixels, t.scale, row + t.x.tileStart)) return false;
    if (mirrors) {
      mirrorColumns({row, -t.xInTile(0)}, -t.x.tileStart, t.x.tileSize - t.xInTile(0), t.x.readEnd);
    } else {
      zeroColumns(row, 0, t.x.tileStart);
      zeroColumns(row, t.x.tileStart + pixels, tile.w);
    }
  }
  return true;
}

void filterLevel(const PlanarLevel& level, const Rectangle& area, const params::NoiseSettings& noise,
                 const params::SharpenSettings& sharpening, Arena scratch) {
  if (area.isEmpty()) return;
  if (noise.patch > 0.0f) {
    LevelStream<PlanarImage, PatchDistances>(&scratch, area).run(level.image, noise, sharpening, {});
  } else {
    LevelStream<PlanarImage>(&scratch, area).run(level.image, noise, sharpening, {});
  }
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

// One row: the filtered planes and the input's samples give the output's, in place of the latter.
template <typename Sample, Rounding kRounding>
HWY_NOINLINE void blendRow(const Rows& filtered, int pixels, const RowsOf<Sample>& samples, const Tile& t) {
  const pixels::SampleScale& s = t.scale;
  for (int x = 0; x < pixels; x += lanes()) {
    const VectorRgb nr = loadRgb(filtered, x);
    const VectorRgb mixed = mixPixels(
        blendValues(samples, x, s),
        {filteredValue<kRounding>(nr.r, s), filteredValue<kRounding>(nr.g, s), filteredValue<kRounding>(nr.b, s)},
        s.blendToWorking, t.settings.blend);
    storeBlended<Sample, kRounding>(mixed.r, s, samples.plane[0] + x);
    storeBlended<Sample, kRounding>(mixed.g, s, samples.plane[1] + x);
    storeBlended<Sample, kRounding>(mixed.b, s, samples.plane[2] + x);
  }
}

// What is written of the main region, blended with the input.
template <typename Sample, Rounding kRounding>
void finish(const Tile& t, const TileMemory& m) {
  const RowsOf<Sample> samples = m.sampleRow<Sample>();
  const pixels::Region written = t.written();
  const int width = written.x1 - written.x0;
  for (int y = written.y0; y < written.y1; ++y) {
    loadRow(t.in, written.x0, y, width, samples);
    blendRow<Sample, kRounding>(m.level[0].image.row(t.yInTile(y)) + t.xInTile(written.x0), width, samples, t);
    storeRow(samples, t.out, written.x0, y, width);
  }
}

template <typename Sample>
void finish(const Tile& t, const TileMemory& m) {
  if (t.settings.haveGuide()) {
    return Stages<Sample>(t, m.level[0].image, m.sampleRow<Sample>(), m.scratch).run();
  }
  switch (t.scale.rounding) {
    case Rounding::kTruncate:
      return finish<Sample, Rounding::kTruncate>(t, m);
    case Rounding::kNearest:
      return finish<Sample, Rounding::kNearest>(t, m);
    case Rounding::kNone:
      if constexpr (sizeof(Sample) == sizeof(float)) finish<Sample, Rounding::kNone>(t, m);
  }
}

template <typename Sample>
bool processSamples(const Tile& t, float* memory) {
  Arena arena(memory);
  const TileMemory m(&arena, t.x.tileSize, t.y.tileSize, sizeof(Sample));
  if (!fill<Sample>(t, m)) return false;
  filterPyramid(m, t.filteredArea(), t.settings);
  finish<Sample>(t, m);
  return true;
}

bool processTile(const Tile& t, float* memory) {
  return pixels::withSampleType(t.in.type, [&](auto sample) { return processSamples<decltype(sample)>(t, memory); });
}

// Floats that a tile takes with the scratch of one step.
template <class Piece, class... Arguments>
std::ptrdiff_t floatsWith(Arena scratch, const Arguments&... arguments) {
  const Piece piece(&scratch, arguments...);
  return scratch.needed();
}

std::uint64_t tileFloats(int w, int h, int sampleBytes, const params::TileSettings& s) {
  Arena arena(nullptr);
  const TileMemory m(&arena, w, h, sampleBytes);
  const Rectangle area = {kReach, w - kReach, kReach, h - kReach};
  const bool isPatched = s.noise[0].patch > 0.0f;
  return static_cast<std::uint64_t>(
      std::max({floatsWith<LevelStream<PlanarImage>>(m.scratch, area), floatsWith<GuideRing>(m.scratch, w),
                isPatched ? floatsWith<LevelStream<PlanarImage, PatchDistances>>(m.scratch, area) : 0,
                s.haveGuide() ? floatsWith<StageMemory>(m.scratch) : 0}));
}

#else

bool processTile(const Tile&, float*) {
  return false;
}
std::uint64_t tileFloats(int, int, int, const params::TileSettings&) {
  return 0;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::tiled::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro::tiled {
namespace {
HWY_EXPORT(processTile);
HWY_EXPORT(tileFloats);

bool processInVectors(const Tile& tile, float* memory) {
  return HWY_DYNAMIC_DISPATCH(processTile)(tile, memory);
}
}  // namespace

Engine vectorEngine(const TileGrid& grid, const params::TileSettings& settings, pixels::SampleType type) {
  const std::uint64_t floats = HWY_DYNAMIC_DISPATCH(tileFloats)(
      static_cast<int>(grid.x.largest), static_cast<int>(grid.y.largest), pixels::sampleBytes(type), settings);
  return {floats > 0 ? processInVectors : nullptr, floats};
}

}  // namespace veskaro::tiled
#endif  // HWY_ONCE
