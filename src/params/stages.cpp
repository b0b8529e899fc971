#include "params/stages.h"

#include "VeskaroNRLib.h"

namespace veskaro::params {
namespace {

// As in best.cpp: every value goes from `white` to `smoothed` with the measured correlation, and from there to
// `blotches` with the measured blotches. Fits to photographs (docs/quality.md).
struct ByKind {
  double white, smoothed, blotches;
};

// Noise below about one level of 8 bits is not seen, and what reads as such in a clean picture is structure: there the
// stages fade out, and what "fast" gives stays.
constexpr double kFaintFrom = 0.7, kFaintTo = 1.2;

// The share of a 3 x 3 patch in the finest level's distances: one noisy centre tells little of what it resembles. In a
// picture full of fine structure a patch has more picture than noise, and rejects what one pixel would take. (Where the
// bounds lie: how many times the noise the median block shows.)
constexpr ByKind kPatch = {0.54, 0.69, 0.4};
constexpr ByKind kBusyFrom = {6.0, 9.0, 9.0}, kBusyTo = {11.0, 16.0, 16.0};

// Factors on the similarity rolloffs: patch distances scatter less, and what a gentler filter leaves is left to the
// blocks, which lose less of the picture with it; the more so the stronger white noise is.
// Grey noise has 1.5 times the luminance of noise as strong in each of three colours.
constexpr double kStrongFrom = 8.0, kStrongTo = 20.0, kStrengthOfGrey = 0.67, kLeastChroma = 0.3;
constexpr ByKind kRolloff = {0.76, 0.8, 0.9}, kRolloffOfStrong = {0.58, 0.8, 0.9};
constexpr ByKind kLevel1 = {0.72, 0.8, 0.8};
constexpr ByKind kLevel2 = {1.4, 0.64, 1.1};
constexpr ByKind kLevel3 = {1.0, 1.2, 1.0};

// Square roots of linear light have their strongest noise in the deepest shadows, out of the smoothest blocks' sight:
// the filters hold back nothing there, and the blocks take more. How busy a picture is cannot be told.
constexpr double kRolloffOfLinear = 1.05, kShrinkMoreOfLinear = 1.5, kPatchOfLinear = 0.5;

// Factor on what is kept of the input: the blocks bring back the picture without its noise.
constexpr ByKind kKept = {0.4, 0.3, 0.5};

// Added to the sharpening. The blocks smooth what negative sharpening did before.
constexpr ByKind kSharpening = {0.05, 0.025, 0.15};
constexpr ByKind kChromaSharpening = {0.4, 0.2, -0.3};

// A dot stands out of neighbours that differ by less than the noise; of colour, by twice as much, since these are
// differences.
constexpr double kDotsLuma = 1.0, kDotsChroma = 2.0;

// Factor on the noise's power. Below 1 where the pilot has already told most coefficients from noise.
constexpr ByKind kShrink = {0.88, 1.2, 0.75}, kShrinkOfStrong = {0.62, 1.2, 0.75};
constexpr ByKind kShrinkChroma = {0.77, 0.62, 0.5};  // of that, since colour shows its loss less than its noise

// In a picture full of fine structure the filters hold back, so the blocks take more.
constexpr double kShrinkMoreFrom = 4.0, kShrinkMostFrom = 9.0, kShrinkMore = 0.6;

// JPEG has taken fine noise from colour, so that luminance has more than other noise has; its own quantisation makes
// the smoothest blocks read more noise than there is in others.
constexpr double kJpegFrom = 2.2, kJpegTo = 3.2, kShrinkOfJpeg = 0.65;

// What may come back of a coefficient that the pilot took too little of, by frequency, lowest first. Where the noise is
// coarse, the lowest stay as the pyramid left them: blocks of 8 pixels see too little of coarse noise to tell it, so it
// would come back. The highest of white noise stay too, since little of a picture is there.
struct Residual {
  double white[kResiduals], smoothed[kResiduals], blotches[kResiduals];
};
constexpr Residual kLuma = {{0.1, 0.6, 0.65, 0.85, 0.8, 0.55, 0.4, 0.3},
                            {0.15, 0.37, 0.32, 0.25, 0.37, 0.46, 0.65, 0.78},
                            {0.85, 1.0, 1.0, 1.0, 0.85, 0.7, 0.45, 0.25}};
constexpr Residual kChroma = {{0.4, 0.7, 0.6, 0.6, 0.4, 0.25, 0.15, 0.1},
                              {0.0, 0.05, 0.05, 0.2, 0.6, 0.8, 0.9, 1.0},
                              {0.0, 0.0, 0.35, 0.65, 1.0, 1.0, 1.0, 1.0}};

double lerp(double a, double b, double t) {
  return a + (b - a) * t;
}

// How far a value is on its way, 0 to 1.
double share(double value, double from, double to) {
  const double t = (value - from) / (to - from);
  return t > 0.0 ? (t < 1.0 ? t : 1.0) : 0.0;
}

class Rule {
 public:
  explicit Rule(const NoiseForStages& noise)
      : noise_(noise),
        smoothed_(static_cast<double>(noise.correlation)),
        blotches_(static_cast<double>(noise.blotches)),
        luma_(static_cast<double>(noise.luma)),
        busy_(noise.isLinear ? 0.0 : static_cast<double>(noise.structure) / luma_),
        strong_(noise.isLinear ? 0.0 : share(luma_ * (isColour() ? 1.0 : kStrengthOfGrey), kStrongFrom, kStrongTo)),
        shown_(noise.isLinear ? 1.0 : share(luma_, kFaintFrom, kFaintTo)) {}

  double rolloff() const {
    if (noise_.isLinear) return kRolloffOfLinear;
    return lerp(factor(kRolloff), factor(kRolloffOfStrong), strong_);
  }
  double factor(const ByKind& k) const { return lerp(1.0, of(k), shown_); }
  double change(const ByKind& k) const { return of(k) * shown_; }
  double patch() const {
    const double calm = 1.0 - share(busy_, of(kBusyFrom), of(kBusyTo));
    return change(kPatch) * (noise_.isLinear ? kPatchOfLinear : calm);
  }
  double dotsLuma() const { return kDotsLuma * luma_ * shown_; }
  double dotsChroma() const { return kDotsChroma * static_cast<double>(noise_.chroma) * shown_; }
  double shrinkLuma() const { return shrink() * static_cast<double>(noise_.kept); }
  double shrinkChroma() const { return shrink() * of(kShrinkChroma); }
  void fill(const Residual& from, float* to) const {
    for (int q = 0; q < kResiduals; ++q) {
      to[q] = static_cast<float>(of({from.white[q], from.smoothed[q], from.blotches[q]}));
    }
  }

 private:
  double of(const ByKind& k) const { return lerp(lerp(k.white, k.smoothed, smoothed_), k.blotches, blotches_); }
  double shrink() const {
    if (noise_.isLinear) return change(kShrink) * kShrinkMoreOfLinear;
    const double more = kShrinkMore * share(busy_, kShrinkMoreFrom, kShrinkMostFrom) * (1.0 - blotches_);
    return lerp(change(kShrink), change(kShrinkOfStrong), strong_) * (1.0 + more) * lerp(1.0, kShrinkOfJpeg, jpeg());
  }
  bool isColour() const { return static_cast<double>(noise_.chroma) > kLeastChroma; }
  double jpeg() const {
    const double chroma = static_cast<double>(noise_.chroma);
    return noise_.isLinear || !isColour() ? 0.0 : share(luma_ / chroma, kJpegFrom, kJpegTo);
  }

  const NoiseForStages& noise_;
  double smoothed_, blotches_, luma_;
  double busy_;    // how many times the noise the median block shows
  double strong_;  // 1: strong noise
  double shown_;   // 0: noise that is not seen
};

// Whatever a host says was measured.
float asFloat(double v) {
  constexpr double kMost = 1e30;
  return static_cast<float>(v < kMost ? v : kMost);
}
void scale(float* entry, double factor) {
  *entry = static_cast<float>(static_cast<double>(*entry) * factor);
}
void add(float* entry, double change) {
  *entry = static_cast<float>(static_cast<double>(*entry) + change);
}

// The coarser levels' rolloffs are products with the finest one's.
void setFilters(const Rule& rule, float* vector) {
  const double rolloff = rule.rolloff();
  scale(&vector[NR_NOISE_LEVEL], rolloff);
  scale(&vector[NR_LEVEL1_NOISE], rule.factor(kLevel1) / rolloff);
  scale(&vector[NR_LEVEL2_NOISE], rule.factor(kLevel2) / rolloff);
  scale(&vector[NR_LEVEL3_NOISE], rule.factor(kLevel3) / rolloff);
  scale(&vector[NR_LUMA_KEEP], rule.factor(kKept));
  scale(&vector[NR_CHROMA_KEEP], rule.factor(kKept));
  add(&vector[NR_SHARPENING], rule.change(kSharpening));
  add(&vector[NR_CHROMA_SHARPENING], rule.change(kChromaSharpening));
}

}  // namespace

Stages setStages(const NoiseForStages& noise, float strength, float* vector) {
  Stages stages = {};
  if (!(noise.luma > 0.0f)) return stages;
  const Rule rule(noise);
  setFilters(rule, vector);
  stages.patch = static_cast<float>(rule.patch());
  stages.dotsLuma = asFloat(rule.dotsLuma());
  stages.dotsChroma = asFloat(rule.dotsChroma());
  // Power goes with the square of a deviation.
  const double power = static_cast<double>(strength) * static_cast<double>(strength);
  stages.shrinkLuma = static_cast<float>(rule.shrinkLuma() * power);
  stages.shrinkChroma = static_cast<float>(rule.shrinkChroma() * power);
  rule.fill(kLuma, stages.residualLuma);
  rule.fill(kChroma, stages.residualChroma);
  return stages;
}

}  // namespace veskaro::params
