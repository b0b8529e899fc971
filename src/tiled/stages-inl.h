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

// A row of the picture, or a part of one, that is known by the picture's columns.
struct PictureRow {
  Rows first;
  int column;  // of the first

  Rows from(int x) const { return first + (x - column); }
};

// Fills the pixels that lie beyond the picture's edge, as far as [xStart, xEnd) goes.
HWY_NOINLINE void mirrorColumns(const PictureRow& row, int xStart, int xEnd, int width) {
  for (float* plane : row.first.plane) {
    const auto at = [&](int x) -> float& { return plane[x - row.column]; };
    for (int x = xStart; x < 0; ++x) at(x) = at(pixels::mirrored(x, width));
    for (int x = width; x < xEnd; ++x) at(x) = at(pixels::mirrored(x, width));
  }
}

// The blended picture: the filtered region of a tile, row by row.
class Guide {
 public:
  Guide(const Tile& t, const PlanarImage& tile) : t_(t), tile_(tile) {}

  // The picture's size where the tile is the last one. Nothing is looked at beyond it elsewhere.
  int width() const { return t_.x.readEnd; }
  int height() const { return t_.y.readEnd; }

  PictureRow row(int y) const { return {tile_.row(t_.yInTile(y)), -t_.xInTile(0)}; }

  // Once the pixels of a row's filtered region have been written.
  void completeRow(int y) const {
    const pixels::Region r = t_.filtered();
    mirrorColumns(row(y), r.x0 - dots::kReach, r.x1 == width() ? width() + dots::kReach : 0, width());
  }

  // Pixels of a row without dots.
  HWY_NOINLINE void copyRow(int y, int xStart, int xEnd, const Rows& to) const {
    const params::DotSettings& s = t_.settings.dots;
    const auto from = [&](int row) { return this->row(pixels::mirrored(row, height())).from(xStart); };
    const Rows above = from(y - 1), own = from(y), below = from(y + 1);
    const int columns = xEnd - xStart;
    for (int c = 0; c < params::kShrunkChannels; ++c) {
      const float radius = c == params::kShrunkY ? s.luma : s.chroma;
      if (radius > 0.0f) {
        dots::HWY_NAMESPACE::removeDots({above.plane[c], own.plane[c], below.plane[c]}, columns, radius, to.plane[c]);
      } else {
        std::memcpy(to.plane[c], own.plane[c], sizeof(float) * static_cast<std::size_t>(columns));
      }
    }
  }

 private:
  const Tile& t_;
  const PlanarImage tile_;
};

// The memory of the stages: the blocks, and a row of Y, B - Y, R - Y.
struct StageMemory {
  explicit StageMemory(simd::Arena* arena)
      : blocks(arena), row(arena, simd::Pitch(shrink::HWY_NAMESPACE::kMostCovered + 6 * simd::kMaxLanes)) {}

  shrink::HWY_NAMESPACE::BlockStream blocks;
  simd::Ring<1, 3> row;
};

template <typename Sample>
class Stages {
 public:
  // The tile has been filtered; samples is room for a row of them.
  Stages(const Tile& t, const PlanarImage& tile, const RowsOf<Sample>& samples, simd::Arena scratch)
      : t_(t), guide_(t, tile), samples_(samples), memory_(&scratch), rule_(t.settings.shrink) {}

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
  // A vector of the input's pixels on the working scale.
  HWY_INLINE VectorRgb noisy(int x) const {
    return times(blendValues(samples_, x, t_.scale), hn::Set(Floats(), t_.scale.blendToWorking));
  }

  // The filtered region becomes the guide: blended, Y, B - Y, R - Y.
  HWY_NOINLINE void blend() const {
    const pixels::Region r = t_.filtered();
    for (int y = r.y0; y < r.y1; ++y) {
      const int columns = r.x1 - r.x0;
      const Rows row = guide_.row(y).from(r.x0);
      loadRow(t_.in, r.x0, y, columns, samples_);
      for (int x = 0; x < columns; x += lanes()) {
        const VectorYcc mixed = blend::HWY_NAMESPACE::mixYcc(noisy(x), loadRgb(row, x), 1.0f, t_.settings.blend);
        storeRgb({mixed.y, mixed.bMinusY, mixed.rMinusY}, row, x);
      }
      guide_.completeRow(y);
    }
  }

  HWY_NOINLINE void copyNoisyRow(int y, int xStart, int xEnd, const Rows& to) const {
    loadRow(t_.in, xStart, y, xEnd - xStart, samples_);
    for (int x = 0; x < xEnd - xStart; x += lanes()) {
      const VectorYcc p = toYcc(noisy(x));
      storeRgb({p.y, p.bMinusY, p.rMinusY}, to, x);
    }
  }

  // A row of Y, B - Y, R - Y becomes the output's.
  void store(const Rows& from, int y, int xStart, int xEnd) const {
    switch (t_.scale.rounding) {
      case Rounding::kTruncate:
        round<Rounding::kTruncate>(from, xEnd - xStart);
        break;
      case Rounding::kNearest:
        round<Rounding::kNearest>(from, xEnd - xStart);
        break;
      case Rounding::kNone:
        if constexpr (sizeof(Sample) == sizeof(float)) round<Rounding::kNone>(from, xEnd - xStart);
    }
    storeRow(samples_, t_.out, xStart, y, xEnd - xStart);
  }

  template <Rounding kRounding>
  HWY_NOINLINE void round(const Rows& from, int columns) const {
    const V toBlend = hn::Set(Floats(), t_.scale.toBlend);
    for (int x = 0; x < columns; x += lanes()) {
      const VectorRgb p = loadRgb(from, x);
      const VectorRgb rgb = times(toRgb(VectorYcc{p.r, p.g, p.b}), toBlend);
      storeBlended<Sample, kRounding>(rgb.r, t_.scale, samples_.plane[0] + x);
      storeBlended<Sample, kRounding>(rgb.g, t_.scale, samples_.plane[1] + x);
      storeBlended<Sample, kRounding>(rgb.b, t_.scale, samples_.plane[2] + x);
    }
  }

  void copyStrip(const pixels::Region& strip) const {
    const Rows row = memory_.row.at(0).rows();
    for (int y = strip.y0; y < strip.y1; ++y) {
      guide_.copyRow(y, strip.x0, strip.x1, row);
      store(row, y, strip.x0, strip.x1);
    }
  }

  void shrinkStrip(const pixels::Region& strip) {
    const shrink::Cover x = shrink::Cover::of(strip.x0, strip.x1), y = shrink::Cover::of(strip.y0, strip.y1);
    memory_.blocks.begin(x.size());
    for (int row = y.start; row < y.end; ++row) {
      take(row, row - y.start, strip, x);
      const int ofBlocks = row + 1 - shrink::kBlock;
      if (ofBlocks < y.start || ofBlocks % shrink::kStep != 0) continue;
      memory_.blocks.shrink(ofBlocks - y.start, rule_);
      give(ofBlocks, strip, x);
    }
  }

  // A row of the cover, of what lies inside the picture and its mirror image. What is read begins a few pixels before
  // the cover, for which the row has room.
  void take(int y, int index, const pixels::Region& strip, const shrink::Cover& cover) const {
    const int first = strip.x0 - shrink::kReach, end = strip.x1 + shrink::kReach;
    const int xStart = first > 0 ? first : 0, xEnd = end < guide_.width() ? end : guide_.width();
    const int inside = pixels::mirrored(y, guide_.height());
    const PictureRow row = {memory_.row.at(0).rows(), cover.start};
    copyNoisyRow(inside, xStart, xEnd, row.from(xStart));
    mirrorColumns(row, cover.start, cover.end, guide_.width());
    memory_.blocks.take(shrink::HWY_NAMESPACE::kNoisy, index, row.first);
    guide_.copyRow(inside, xStart, xEnd, row.from(xStart));
    mirrorColumns(row, cover.start, cover.end, guide_.width());
    memory_.blocks.take(shrink::HWY_NAMESPACE::kGuide, index, row.first);
  }

  void give(int yStart, const pixels::Region& strip, const shrink::Cover& cover) const {
    const PictureRow row = {memory_.row.at(0).rows(), cover.start};
    for (int i = 0; i < shrink::kStep; ++i) {
      const int y = yStart + i;
      if (y < strip.y0 || y >= strip.y1) continue;
      memory_.blocks.give(i, row.first);
      store(row.from(strip.x0), y, strip.x0, strip.x1);
    }
  }

  const Tile& t_;
  const Guide guide_;
  const RowsOf<Sample> samples_;
  StageMemory memory_;
  const shrink::Rule rule_;
};

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::tiled::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
