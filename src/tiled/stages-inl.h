// Per-target: from the filtered tile to the output where stages look at the guide. Rows of guide and input stream
// through them.
#if defined(VESKARO_TILED_STAGES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_TILED_STAGES_INL_H
#undef VESKARO_TILED_STAGES_INL_H
#else
#define VESKARO_TILED_STAGES_INL_H
#endif

#include "blend/blend-inl.h"
#include "dots/dots-inl.h"
#include "pixels/mirror.h"
#include "pixels/samples-inl.h"
#include "shrink/shrink-inl.h"
#include "tiled/tile.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::tiled::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
using pixels::Rounding;
using simd::Rows;
using simd::RowsOf;
#if VESKARO_HAS_VECTORS

// Fills the pixels of a row that lie beyond the picture's edge, as far as [xStart, xEnd) goes. Pixel x of the picture
// lies at plane[x].
inline void mirrorColumns(const Rows& row, int xStart, int xEnd, int width) {
  for (float* plane : row.plane) {
    for (int x = xStart; x < 0; ++x) plane[x] = plane[pixels::mirrored(x, width)];
    for (int x = width; x < xEnd; ++x) plane[x] = plane[pixels::mirrored(x, width)];
  }
}

// The memory of the stages: the blocks, and rows of Y, B - Y, R - Y.
struct StageMemory {
  explicit StageMemory(simd::Arena* arena)
      : blocks(arena), row(arena, simd::Pitch(shrink::HWY_NAMESPACE::kMostCovered + 6 * simd::kMaxLanes)) {}

  shrink::HWY_NAMESPACE::BlockStream blocks;
  simd::Ring<1, 3> row;
};

template <typename Sample, Rounding kRounding>
class Stages {
 public:
  // The tile has been filtered and holds the whole of its filtered region; samples is room for a row of them.
  Stages(const Tile& t, const PlanarImage& tile, const RowsOf<Sample>& samples, simd::Arena scratch)
      : t_(t), tile_(tile), samples_(samples), memory_(&scratch), rule_(t.settings.shrink) {}

  void run() {
    blend();
    const pixels::Region written = t_.written();
    constexpr int kColumns = shrink::HWY_NAMESPACE::kMostColumns;
    for (int x = written.x0; x < written.x1; x += kColumns) {
      const pixels::Region strip = {x, written.x1 - x < kColumns ? written.x1 : x + kColumns, written.y0, written.y1};
      t_.settings.shrink.isOnForAny() ? shrinkStrip(strip) : copyStrip(strip);
    }
  }

 private:
  int width() const { return t_.x.readEnd; }  // the picture's, where the tile is the last
  int height() const { return t_.y.readEnd; }

  // Row y of the tile; pixel x of the picture lies at plane[x].
  Rows tileRow(int y) const { return tile_.row(t_.yInTile(y)) + t_.xInTile(0); }

  // The input's pixels on the working scale, a vector of them.
  HWY_INLINE VectorRgb noisy(int x) const {
    return times(blendValues(samples_, x, t_.scale), hn::Set(Floats(), t_.scale.blendToWorking));
  }

  // The filtered region becomes the guide: blended, Y, B - Y, R - Y.
  HWY_NOINLINE void blend() const {
    const pixels::Region r = t_.filtered();
    for (int y = r.y0; y < r.y1; ++y) {
      loadRow(t_.in, r.x0, y, r.x1 - r.x0, samples_);
      const Rows row = tileRow(y);
      for (int x = r.x0; x < r.x1; x += lanes()) {
        const VectorYcc mixed = blend::HWY_NAMESPACE::mixYcc(noisy(x - r.x0), loadRgb(row, x), 1.0f, t_.settings.blend);
        storeRgb({mixed.y, mixed.bMinusY, mixed.rMinusY}, row, x);
      }
      mirrorColumns(row, r.x0 == 0 ? -dots::kReach : 0, r.x1 == width() ? width() + dots::kReach : 0, width());
    }
  }

  // The guide's row without dots.
  void guideRow(int y, int xStart, int xEnd, const Rows& to) const {
    const params::DotSettings& s = t_.settings.dots;
    const Rows above = tileRow(pixels::mirrored(y - 1, height())), row = tileRow(y),
               below = tileRow(pixels::mirrored(y + 1, height()));
    for (int c = 0; c < 3; ++c) {
      const float radius = c == 0 ? s.luma : s.chroma;
      if (radius > 0.0f) {
        dots::HWY_NAMESPACE::removeDots({above.plane[c], row.plane[c], below.plane[c]}, xStart, xEnd, radius,
                                        to.plane[c]);
      } else {
        std::memcpy(to.plane[c] + xStart, row.plane[c] + xStart,
                    sizeof(float) * static_cast<std::size_t>(xEnd - xStart));
      }
    }
  }

  void noisyRow(int y, int xStart, int xEnd, const Rows& to) const {
    loadRow(t_.in, xStart, y, xEnd - xStart, samples_);
    for (int x = xStart; x < xEnd; x += lanes()) {
      const VectorYcc p = toYcc(noisy(x - xStart));
      storeRgb({p.y, p.bMinusY, p.rMinusY}, to, x);
    }
  }

  // A row of Y, B - Y, R - Y becomes the output's.
  void store(const Rows& from, int y, int xStart, int xEnd) const {
    const V toBlend = hn::Set(Floats(), t_.scale.toBlend);
    for (int x = xStart; x < xEnd; x += lanes()) {
      const VectorRgb p = loadRgb(from, x);
      const VectorRgb rgb = times(toRgb(VectorYcc{p.r, p.g, p.b}), toBlend);
      storeBlended<Sample, kRounding>(rgb.r, t_.scale, samples_.plane[0] + x - xStart);
      storeBlended<Sample, kRounding>(rgb.g, t_.scale, samples_.plane[1] + x - xStart);
      storeBlended<Sample, kRounding>(rgb.b, t_.scale, samples_.plane[2] + x - xStart);
    }
    storeRow(samples_, t_.out, xStart, y, xEnd - xStart);
  }

  // Scratch whose plane[x] is pixel x of the picture, for x from some vectors before xStart on.
  Rows scratchFrom(int xStart) const { return memory_.row.at(0).rows() + (simd::kMaxLanes - xStart); }

  void copyStrip(const pixels::Region& strip) const {
    const Rows row = scratchFrom(strip.x0);
    for (int y = strip.y0; y < strip.y1; ++y) {
      guideRow(y, strip.x0, strip.x1, row);
      store(row, y, strip.x0, strip.x1);
    }
  }

  void shrinkStrip(const pixels::Region& strip) {
    const shrink::Cover x = shrink::Cover::of(strip.x0, strip.x1), y = shrink::Cover::of(strip.y0, strip.y1);
    memory_.blocks.begin(x.size());
    for (int row = y.start; row < y.end; ++row) {
      take(row, row - y.start, strip, x);
      const int ofBlocks = row + 1 - shrink::kBlock;
      if (ofBlocks < y.start || (row + 1) % shrink::kStep != 0) continue;
      memory_.blocks.shrink(ofBlocks - y.start, rule_);
      give(ofBlocks, strip, x);
    }
  }

  // A row of the cover, of what lies inside the picture and its mirror image.
  void take(int y, int index, const pixels::Region& strip, const shrink::Cover& cover) const {
    const int first = strip.x0 - shrink::kReach, end = strip.x1 + shrink::kReach;
    const int xStart = first > 0 ? first : 0, xEnd = end < width() ? end : width();
    const int inside = pixels::mirrored(y, height());
    const Rows row = scratchFrom(cover.start);
    noisyRow(inside, xStart, xEnd, row);
    mirrorColumns(row, cover.start, cover.end, width());
    memory_.blocks.take(shrink::HWY_NAMESPACE::kNoisy, index, row + cover.start);
    guideRow(inside, xStart, xEnd, row);
    mirrorColumns(row, cover.start, cover.end, width());
    memory_.blocks.take(shrink::HWY_NAMESPACE::kGuide, index, row + cover.start);
  }

  void give(int yStart, const pixels::Region& strip, const shrink::Cover& cover) const {
    const Rows row = scratchFrom(cover.start);
    for (int i = 0; i < shrink::kStep; ++i) {
      const int y = yStart + i;
      if (y < strip.y0 || y >= strip.y1) continue;
      memory_.blocks.give(i, row + cover.start);
      store(row, y, strip.x0, strip.x1);
    }
  }

  const Tile& t_;
  const PlanarImage tile_;
  const RowsOf<Sample> samples_;
  StageMemory memory_;
  const shrink::Rule rule_;
};

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::tiled::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
