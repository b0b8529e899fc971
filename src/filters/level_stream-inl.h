// Per-target: rows stream through the filters in column strips. Row y of a strip is noise-reduced once row y + 2 has
// been loaded, and sharpened once row y + 2 has been noise-reduced; all between lives in rings of a few rows:
//
//   load row t -> distances of row t - 2 -> reduce row t - 2 -> distances of row t - 4 -> sharpen row t - 4 -> store
//
// Rows are counted from the first one loaded, two above the rectangle; columns from the strip's first.
#if defined(VESKARO_FILTERS_LEVEL_STREAM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_LEVEL_STREAM_INL_H
#undef VESKARO_FILTERS_LEVEL_STREAM_INL_H
#else
#define VESKARO_FILTERS_LEVEL_STREAM_INL_H
#endif

#include "filters/level_stream.h"
#include "filters/noise_reduce-inl.h"
#include "filters/sharpen-inl.h"
#include "simd/planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR

HWY_INLINE void toComparisonRow(const Rows& rgb, int xStart, int xEnd, const Rows& comparison) {
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorYcc p = toComparisonYcc(loadRgb(rgb, x));
    storeRgb({p.y, p.bMinusY, p.rMinusY}, comparison, x);
  }
}

// The last input rows of one filter and the distances between their pixels.
class FilterRings {
 public:
  static constexpr int kRows = 2 * kReach + 1;

  FilterRings(Arena* arena, std::ptrdiff_t rowFloats)
      : memory_(arena, kRows, rowFloats), distances_(arena, rowFloats) {}

  // Row y is to be filled in the rings' own memory, or lies ready elsewhere.
  void useOwnRow(int y) { rows_[y % kRows] = memory_.at(y); }
  void useRow(int y, const Rows& row) { rows_[y % kRows] = row; }

  const Rows& row(int y) const { return rows_[y % kRows]; }
  void setOrdinary(int y, bool isOrdinaryRow) { ordinary_[y % kRows] = isOrdinaryRow; }

  bool areOrdinary(int first, int last) const {
    for (int y = first; y <= last; ++y) {
      if (!ordinary_[y % kRows]) return false;
    }
    return true;
  }

  // The distances of row y over [xStart, xEnd), between the given rows y to y + 2.
  template <class Distance>
  void computeDistances(int y, const Rows (&rows)[3], int xStart, int xEnd) const {
    if (areOrdinary(y, y + kReach)) {
      HWY_NAMESPACE::computeDistances<Distance, true>(distances_, y, rows, xStart, xEnd);
    } else {
      HWY_NAMESPACE::computeDistances<Distance, false>(distances_, y, rows, xStart, xEnd);
    }
  }

  // The rows around row y and its distances, as the row filters take them.
  void around(int y, Rows (&rows)[kRows], const float* (&distance)[kRows][kRows]) const {
    for (int dy = -kReach; dy <= kReach; ++dy) {
      rows[dy + kReach] = row(y + dy);
      for (int dx = -kReach; dx <= kReach; ++dx) {
        if (dx != 0 || dy != 0) distance[dy + kReach][dx + kReach] = distances_.between(dx, dy, y);
      }
    }
  }

 private:
  RowRing memory_;
  Rows rows_[kRows] = {};
  DistanceRing distances_;
  bool ordinary_[kRows] = {};
};

class NoiseStage {
 public:
  NoiseStage(Arena* arena, std::ptrdiff_t rowFloats) : rings_(arena, rowFloats), comparison_(arena, 3, rowFloats) {}

  void useOwnRow(int y) { rings_.useOwnRow(y); }
  void useRow(int y, const Rows& row) { rings_.useRow(y, row); }
  Rows level(int y) const { return rings_.row(y); }
  Rows comparison(int y) const { return comparison_.at(y); }

  // Takes row y, whose level row has been filled over [xStart, xEnd), and computes its comparison row. Differences of
  // ordinary samples need no look of their own.
  void rowLoaded(int y, int xStart, int xEnd) {
    const Rows rgb = level(y);
    toComparisonRow(rgb, xStart, xEnd, comparison(y));
    const float* const planes[4] = {rgb.plane[0], rgb.plane[1], rgb.plane[2], comparison(y).plane[0]};
    rings_.setOrdinary(y, areOrdinary(planes, xStart, xEnd));
  }

  // The same with a comparison row that the host has filled, with whatever it likes.
  void rowsLoaded(int y, int xStart, int xEnd) {
    rings_.setOrdinary(y, areOrdinary(level(y).plane, xStart, xEnd) && areOrdinary(comparison(y).plane, xStart, xEnd));
  }

  void computeDistances(int y, int xStart, int xEnd) const {
    const Rows rows[3] = {comparison(y), comparison(y + 1), comparison(y + 2)};
    rings_.computeDistances<ComparisonDistance>(y, rows, xStart - kReach, xEnd + kReach);
  }

  void reduce(int y, int xStart, int xEnd, const Rows& own, const Rows& reduced, const Rows& records,
              const NoiseSettings& settings) const {
    NoiseRow row;
    rings_.around(y, row.level, row.distance);
    row.own = own;
    row.reduced = reduced;
    row.records = records;
    if (rings_.areOrdinary(y - kReach, y + kReach) && areOrdinary(settings)) {
      reduceNoiseRow<true>(row, xStart, xEnd, settings);
    } else {
      reduceNoiseRow<false>(row, xStart, xEnd, settings);
    }
  }

 private:
  FilterRings rings_;
  RowRing comparison_;
};

class SharpenStage {
 public:
  SharpenStage(Arena* arena, std::ptrdiff_t rowFloats) : rings_(arena, rowFloats), sharpened_(arena, 1, rowFloats) {}

  void useOwnRow(int y) { rings_.useOwnRow(y); }
  Rows reduced(int y) const { return rings_.row(y); }
  Rows sharpened() const { return sharpened_.at(0); }

  // Takes row y, whose reduced row has been filled over [xStart, xEnd).
  void rowLoaded(int y, int xStart, int xEnd) { rings_.setOrdinary(y, areOrdinary(reduced(y).plane, xStart, xEnd)); }

  void computeDistances(int y, int xStart, int xEnd) const {
    const Rows rows[3] = {reduced(y), reduced(y + 1), reduced(y + 2)};
    rings_.computeDistances<ColourDistance>(y, rows, xStart - kReach, xEnd + kReach);
  }

  void sharpen(int y, int xStart, int xEnd, const Rows& records, const SharpenSettings& settings) const {
    SharpenRow row;
    rings_.around(y, row.reduced, row.distance);
    row.records = records;
    row.sharpened = sharpened();
    if (rings_.areOrdinary(y - kReach, y + kReach)) {
      sharpenRow<true>(row, xStart, xEnd, settings);
    } else {
      sharpenRow<false>(row, xStart, xEnd, settings);
    }
  }

 private:
  FilterRings rings_;
  RowRing sharpened_;
};

// Both filters over the rectangle of a level, in place.
template <class Image>
class LevelStream {
 public:
  // Images that receive the noise-reduced pixels and the records too, or null.
  struct Outputs {
    const Image* reduced = nullptr;
    const Image* records = nullptr;
  };

  LevelStream(Arena* arena, const Rectangle& area)
      : area_(area),
        rows_(area.yEnd - area.yStart),
        noise_(arena, stripRowFloats(area.xEnd - area.xStart)),
        sharpen_(arena, stripRowFloats(area.xEnd - area.xStart)),
        records_(arena, 3, stripRowFloats(area.xEnd - area.xStart)),
        hasStrips_(area.xEnd - area.xStart > kStripColumns),
        margin_(hasStrips_ ? arena->take(kMarginFloats * (rows_ + 2 * kReach)) : nullptr) {}

  void run(const Image& image, const NoiseSettings& noise, const SharpenSettings& sharpening, const Outputs& outputs) {
    for (int x = area_.xStart; x < area_.xEnd; x += kStripColumns) {
      strip_ = Strip::at(area_, x);
      for (int t = 0; t < rows_ + 3 * kReach; ++t) {
        if (t < rows_ + 2 * kReach) load(image, t);
        if (t >= kReach) reduce(t - kReach, noise, outputs);
        if (t >= 2 * kReach) sharpen(image, t - 2 * kReach, sharpening);
      }
    }
  }

 private:
  static constexpr std::ptrdiff_t kMarginFloats = 3 * kStripMargin;

  int levelRow(int y) const { return area_.yStart - kReach + y; }
  bool isInside(int y) const { return y >= kReach && y < rows_ + kReach; }
  int column(int x) const { return x - strip_.xStart; }

  void load(const Image& image, int y) {
    const int first = column(strip_.readStart);
    const int last = column(strip_.readEnd);
    useLevelRow(image, y, first, last);
    noise_.rowLoaded(y, first, last);
  }

  // Rows of a planar level that one strip covers are used where they lie: row y is overwritten with the result once it
  // has been sharpened, two rows after the last noise reduction that looks at it.
  void useLevelRow(const Image& image, int y, int first, int last) {
    if constexpr (Image::kIsPlanar) {
      if (!hasStrips_) {
        noise_.useRow(y, image.row(levelRow(y)) + strip_.xStart);
        return;
      }
    }
    noise_.useOwnRow(y);
    image.load(strip_.readStart, levelRow(y), last - first, noise_.level(y) + first);
    if (hasStrips_) exchangeMargin(y, noise_.level(y));
  }

  // The columns left of this strip have been filtered in place: take them as they were, and keep this strip's last ones
  // for the next.
  void exchangeMargin(int y, const Rows& level) {
    float* kept = margin_ + y * kMarginFloats;
    const bool isFirst = strip_.xStart == area_.xStart;
    for (float* plane : level.plane) {
      for (int i = 0; i < kStripMargin; ++i, ++kept) {
        if (!isFirst) plane[i - kStripMargin] = *kept;
        *kept = plane[column(strip_.xEnd) - kStripMargin + i];
      }
    }
  }

  // Outside the rectangle the noise-reduced level is the level.
  void reduce(int y, const NoiseSettings& settings, const Outputs& outputs) {
    const int first = column(strip_.reduceStart);
    const int last = column(strip_.reduceEnd);
    const int width = column(strip_.xEnd);
    const Rows level = noise_.level(y);
    sharpen_.useOwnRow(y);
    const Rows reduced = sharpen_.reduced(y);
    if (y < rows_ + kReach) noise_.computeDistances(y, first, last);
    if (isInside(y)) {
      noise_.reduce(y, first, last, level, reduced, records_.at(y), settings);
      PlanarImage::copy(level + -kReach, reduced + -kReach, first + kReach);
      PlanarImage::copy(level + last, reduced + last, width + kReach - last);
      if (outputs.reduced != nullptr) outputs.reduced->store(reduced, strip_.xStart, levelRow(y), width);
      if (outputs.records != nullptr) outputs.records->store(records_.at(y), strip_.xStart, levelRow(y), width);
    } else {
      PlanarImage::copy(level + -kReach, reduced + -kReach, width + 2 * kReach);
    }
    sharpen_.rowLoaded(y, -kReach, width + kReach);
  }

  void sharpen(const Image& image, int y, const SharpenSettings& settings) {
    const int width = column(strip_.xEnd);
    sharpen_.computeDistances(y, 0, width);
    if (!isInside(y)) return;
    sharpen_.sharpen(y, 0, width, records_.at(y), settings);
    image.store(sharpen_.sharpened(), strip_.xStart, levelRow(y), width);
  }

  Rectangle area_;
  int rows_;
  NoiseStage noise_;
  SharpenStage sharpen_;
  RowRing records_;
  bool hasStrips_;
  float* margin_;
  Strip strip_ = {};
};

#endif  // HWY_TARGET != HWY_SCALAR
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
