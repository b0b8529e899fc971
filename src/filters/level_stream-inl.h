// Per-target: rows stream through the filters in column strips. Row y of a strip is noise-reduced once row y + 2 has
// been loaded, and sharpened once row y + 2 has been noise-reduced; all between lives in rings of a few rows:
//
//   load row t -> distances of row t - 2 -> reduce row t - 2 -> distances of row t - 4 -> sharpen row t - 4 -> store
//
// Where patches are compared, all from the reduction on comes one row later. Rows are counted from the first one
// loaded, two above the rectangle, three with patches; columns from the strip's first.
#if defined(VESKARO_FILTERS_LEVEL_STREAM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_LEVEL_STREAM_INL_H
#undef VESKARO_FILTERS_LEVEL_STREAM_INL_H
#else
#define VESKARO_FILTERS_LEVEL_STREAM_INL_H
#endif

#include "filters/noise_reduce_row-inl.h"
#include "filters/sharpen_row-inl.h"
#include "filters/strip.h"
#include "pixels/colour-inl.h"
#include "pixels/level_image-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::filters::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

// The last input rows of one filter, which looks kAhead rows farther than its window, and the distances between their
// pixels.
template <int kAhead>
class FilterRings {
 public:
  explicit FilterRings(simd::Arena* arena) : rows_(arena), distances_(arena) {}

  StripRow row(int y) const { return rows_.at(y); }
  DistanceRow distancesAround(int y) const { return distances_.around(y); }
  // Whether all samples of row y have exact sums.
  void setExact(int y, bool isExact) { isExact_[y % kExactRows] = isExact; }

  bool areExact(int first, int last) const {
    for (int y = first; y <= last; ++y) {
      if (!isExact_[y % kExactRows]) return false;
    }
    return true;
  }
  // Whether all rows that the window of row y depends on are.
  bool areExactAround(int y) const { return areExact(y - kReach - kAhead, y + kReach + kAhead); }

  // The distances of row y over [xStart, xEnd), between the given rows y to y + 2.
  template <class Distance>
  void computeDistances(int y, const StripRow (&rows)[kReach + 1], int xStart, int xEnd) const {
    if (areExact(y, y + kReach)) {
      HWY_NAMESPACE::computeDistances<Distance, true>(distances_, y, rows, xStart, xEnd);
    } else {
      HWY_NAMESPACE::computeDistances<Distance, false>(distances_, y, rows, xStart, xEnd);
    }
  }

  // The same for patches, whose distances are those of row y - 1.
  template <class Distance>
  void computeDistances(const PatchDistances& patches, int y, const StripRow (&rows)[kReach + 1], int xStart, int xEnd,
                        const PatchShares& shares) const {
    if (areExact(y, y + kReach)) {
      patches.compute<Distance, true>(distances_, y, rows, xStart, xEnd, shares);
    } else {
      patches.compute<Distance, false>(distances_, y, rows, xStart, xEnd, shares);
    }
  }

  void rowsAround(int y, StripRow (&rows)[kSpan]) const {
    for (int dy = -kReach; dy <= kReach; ++dy) rows[dy + kReach] = row(y + dy);
  }

 private:
  static constexpr int kExactRows = kSpan + 2 * kAhead;
  StripRing<kSpan + kAhead> rows_;
  DistanceRing distances_;
  bool isExact_[kExactRows] = {};
};

template <class Distances>
class NoiseStage {
 public:
  explicit NoiseStage(simd::Arena* arena) : rings_(arena), patches_(arena), comparison_(arena), steps_(arena) {}

  StripRow level(int y) const { return rings_.row(y); }
  StripRow comparison(int y) const { return comparison_.at(y); }

  // Takes row y, whose level row has been filled over [xStart, xEnd), and computes its comparison row. B - Y and R - Y
  // are multiples of what R, G, B and Y are multiples of, and hardly larger: they need no look of their own.
  void rowLoaded(int y, int xStart, int xEnd) {
    const StripRow rgb = level(y);
    toComparisonRow(rgb, xStart, xEnd, comparison(y));
    const float* const planes[4] = {rgb.plane(0), rgb.plane(1), rgb.plane(2), comparison(y).plane(0)};
    rings_.setExact(y, haveExactSums(planes, xStart, xEnd));
  }

  // The same with a comparison row that the host has filled, with whatever it likes.
  void rowsLoaded(int y, int xStart, int xEnd) {
    rings_.setExact(y, haveExactSums(level(y).rows().plane, xStart, xEnd) &&
                           haveExactSums(comparison(y).rows().plane, xStart, xEnd));
  }

  // Once row y + 2 has been loaded; of row y - 1 where patches are compared.
  void computeDistances(int y, int xStart, int xEnd, const params::NoiseSettings& settings) const {
    const StripRow rows[kReach + 1] = {comparison(y), comparison(y + 1), comparison(y + 2)};
    if constexpr (Distances::kPatchReach == 0) {
      rings_.template computeDistances<ComparisonDistance>(y, rows, xStart - kReach, xEnd + kReach);
    } else {
      rings_.template computeDistances<ComparisonDistance>(patches_, y, rows, xStart - kReach, xEnd + kReach,
                                                           PatchShares(settings.patch));
    }
  }

  void reduce(int y, int xStart, int xEnd, const StripRow& own, const StripRow& reduced, const StripRow& noiseMap,
              const params::NoiseSettings& settings) const {
    NoiseRow row = {{}, rings_.distancesAround(y), own, reduced, noiseMap, steps_.at(0), steps_.at(1)};
    rings_.rowsAround(y, row.level);
    if (rings_.areExactAround(y) && params::rolloffsArePositive(settings)) {
      reduceNoiseRow<true>(row, xStart, xEnd, settings);
    } else {
      reduceNoiseRow<false>(row, xStart, xEnd, settings);
    }
  }

 private:
  FilterRings<Distances::kPatchReach> rings_;
  Distances patches_;
  StripRing<3> comparison_;
  StripRing<2> steps_;
};

class SharpenStage {
 public:
  explicit SharpenStage(simd::Arena* arena) : rings_(arena), sharpened_(arena), steps_(arena) {}

  StripRow reduced(int y) const { return rings_.row(y); }
  StripRow sharpened() const { return sharpened_.at(0); }

  // Takes row y, whose reduced row has been filled over [xStart, xEnd).
  void rowLoaded(int y, int xStart, int xEnd) {
    rings_.setExact(y, haveExactSums(reduced(y).rows().plane, xStart, xEnd));
  }

  void computeDistances(int y, int xStart, int xEnd) const {
    const StripRow rows[kReach + 1] = {reduced(y), reduced(y + 1), reduced(y + 2)};
    rings_.computeDistances<ColourDistance>(y, rows, xStart - kReach, xEnd + kReach);
  }

  void sharpen(int y, int xStart, int xEnd, const StripRow& noiseMap, const params::SharpenSettings& settings) const {
    SharpenRow row = {{}, rings_.distancesAround(y), noiseMap, sharpened(), steps_.at(0), steps_.at(1), steps_.at(2)};
    rings_.rowsAround(y, row.reduced);
    if (rings_.areExactAround(y)) {
      sharpenRow<true>(row, xStart, xEnd, settings);
    } else {
      sharpenRow<false>(row, xStart, xEnd, settings);
    }
  }

 private:
  FilterRings<0> rings_;
  StripRing<1> sharpened_;
  StripRing<3> steps_;
};

// Both filters over the rectangle of a level, in place.
template <class Image, class Distances = PixelDistances>
class LevelStream {
 public:
  // Images that receive the noise-reduced pixels and the noise map too, or null.
  struct Outputs {
    const Image* reduced = nullptr;
    const Image* noiseMap = nullptr;
  };

  LevelStream(simd::Arena* arena, const pixels::Rectangle& area)
      : area_(area),
        rows_(area.yEnd - area.yStart),
        noise_(arena),
        sharpen_(arena),
        noiseMap_(arena),
        hasStrips_(area.xEnd - area.xStart > kStripColumns),
        margin_(hasStrips_ ? arena->take(kMarginFloats * (rows_ + 2 * kAhead)) : nullptr) {}

  void run(const Image& image, const params::NoiseSettings& noise, const params::SharpenSettings& sharpening,
           const Outputs& outputs) {
    for (int x = area_.xStart; x < area_.xEnd; x += kStripColumns) {
      strip_ = Strip::at(area_, x, Distances::kPatchReach);
      for (int t = 0; t < rows_ + 2 * kAhead + kReach; ++t) {
        if (t < rows_ + 2 * kAhead) load(image, t, noise);
        if (t >= kAhead) reduce(t - kAhead, noise, outputs);
        if (t >= kAhead + kReach) sharpen(image, t - kAhead - kReach, sharpening);
      }
    }
  }

 private:
  static constexpr int kAhead = kReach + Distances::kPatchReach;  // how far the noise filter looks
  static constexpr int kMargin = stripMargin(Distances::kPatchReach);
  static constexpr std::ptrdiff_t kMarginFloats = 3 * kMargin;

  int levelRow(int y) const { return area_.yStart - kAhead + y; }
  bool isInside(int y) const { return y >= kAhead && y < rows_ + kAhead; }
  int column(int x) const { return x - strip_.xStart; }

  void load(const Image& image, int y, const params::NoiseSettings& settings) {
    const simd::Rows level = noise_.level(y).rows();
    const int first = column(strip_.readStart);
    const int last = column(strip_.readEnd);
    image.load(strip_.readStart, levelRow(y), last - first, level + first);
    if (hasStrips_) exchangeMargin(y, level);
    noise_.rowLoaded(y, first, last);
    if (y >= kReach) {
      noise_.computeDistances(y - kReach, column(strip_.reduceStart), column(strip_.reduceEnd), settings);
    }
  }

  // The columns left of this strip have been filtered in place: take them as they were, and keep this strip's last ones
  // for the next.
  void exchangeMargin(int y, const simd::Rows& level) {
    float* kept = margin_ + y * kMarginFloats;
    const bool isFirst = strip_.xStart == area_.xStart;
    for (float* plane : level.plane) {
      for (int i = 0; i < kMargin; ++i, ++kept) {
        if (!isFirst) plane[i - kMargin] = *kept;
        *kept = plane[column(strip_.xEnd) - kMargin + i];
      }
    }
  }

  // Outside the rectangle the noise-reduced level is the level.
  void reduce(int y, const params::NoiseSettings& settings, const Outputs& outputs) {
    const int first = column(strip_.reduceStart);
    const int last = column(strip_.reduceEnd);
    const int width = column(strip_.xEnd);
    const StripRow reducedRow = sharpen_.reduced(y);
    const simd::Rows level = noise_.level(y).rows();
    const simd::Rows reduced = reducedRow.rows();
    if (isInside(y)) {
      noise_.reduce(y, first, last, noise_.level(y), reducedRow, noiseMap_.at(y), settings);
      PlanarImage::copy(level + -kReach, reduced + -kReach, first + kReach);
      PlanarImage::copy(level + last, reduced + last, width + kReach - last);
      if (outputs.reduced != nullptr) outputs.reduced->store(reduced, strip_.xStart, levelRow(y), width);
      if (outputs.noiseMap != nullptr)
        outputs.noiseMap->store(noiseMap_.at(y).rows(), strip_.xStart, levelRow(y), width);
    } else {
      PlanarImage::copy(level + -kReach, reduced + -kReach, width + 2 * kReach);
    }
    sharpen_.rowLoaded(y, -kReach, width + kReach);
  }

  void sharpen(const Image& image, int y, const params::SharpenSettings& settings) {
    const int width = column(strip_.xEnd);
    sharpen_.computeDistances(y, 0, width);
    if (!isInside(y)) return;
    sharpen_.sharpen(y, 0, width, noiseMap_.at(y), settings);
    image.store(sharpen_.sharpened().rows(), strip_.xStart, levelRow(y), width);
  }

  pixels::Rectangle area_;
  int rows_;
  NoiseStage<Distances> noise_;
  SharpenStage sharpen_;
  StripRing<3> noiseMap_;
  bool hasStrips_;
  float* margin_;
  Strip strip_ = {};
};

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::filters::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
