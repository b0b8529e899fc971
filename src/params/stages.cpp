#include "params/stages.h"

#include "VeskaroNRLib.h"

namespace veskaro::params {
namespace {

// As in best.cpp: every value goes from `white` to `smoothed` with the measured correlation, and from there to
// `blotches` with the measured blotches. Fits to photographs (docs/quality.md).
struct ByKind {
  double white, smoothed, blotches;
};

// The share of a 3 x 3 patch in the finest level's distances: one noisy centre tells little of what it resembles. Noise
// that is smoothed is alike all over the patch, so that its mean tells less that is new.
constexpr ByKind kPatch = {0.6, 0.4, 0.4};

// Factors on the similarity rolloffs: patch distances of white noise scatter less, and what the finest level leaves is
// left to the blocks. The coarsest level stays.
constexpr ByKind kRolloff = {0.78, 1.0, 1.1};
constexpr ByKind kLevel1 = {0.9, 1.0, 0.9};
constexpr ByKind kLevel2 = {0.8, 1.0, 1.0};

// Factor on what is kept of the input: a better pilot keeps less of the noise, and the blocks bring back the picture.
constexpr ByKind kKept = {1.3, 1.0, 1.0};

// A dot stands out of neighbours that differ by less than the noise; of colour, by twice as much, since these are
// differences.
constexpr double kDotsLuma = 1.0, kDotsChroma = 2.0;

// Factor on the noise's power. Below 1: the pilot has already told most coefficients from noise.
constexpr ByKind kShrink = {0.6, 0.75, 0.7};
constexpr double kShrinkChroma = 0.8;  // of that, since colour shows its loss less than its noise

// What may come back of a coefficient that the pilot took too little of, by frequency, lowest first. Where the noise is
// coarse, the lowest stay as the pyramid left them: blocks of 8 pixels see too little of coarse noise to tell it, so it
// would come back. The highest of white noise stay too, since little of a picture is there.
struct Residual {
  double white[kResiduals], smoothed[kResiduals], blotches[kResiduals];
};
constexpr Residual kLuma = {{0.1, 0.6, 0.65, 0.7, 0.65, 0.55, 0.4, 0.3},
                            {0.15, 0.37, 0.32, 0.35, 0.47, 0.66, 0.85, 0.98},
                            {0.85, 1.0, 1.0, 0.9, 0.75, 0.55, 0.3, 0.1}};
constexpr Residual kChroma = {{0.0, 0.3, 0.4, 0.4, 0.3, 0.15, 0.05, 0.0},
                              {0.0, 0.05, 0.15, 0.3, 0.4, 0.6, 0.7, 0.8},
                              {0.0, 0.1, 0.35, 0.65, 0.9, 0.9, 0.95, 0.95}};

double lerp(double a, double b, double t) {
  return a + (b - a) * t;
}

class Mix {
 public:
  explicit Mix(const NoiseForStages& noise)
      : smoothed_(static_cast<double>(noise.correlation)), blotches_(static_cast<double>(noise.blotches)) {}

  double of(double white, double smoothed, double blotches) const {
    return lerp(lerp(white, smoothed, smoothed_), blotches, blotches_);
  }
  double of(const ByKind& k) const { return of(k.white, k.smoothed, k.blotches); }
  void fill(const Residual& from, float* to) const {
    for (int q = 0; q < kResiduals; ++q) {
      to[q] = static_cast<float>(of(from.white[q], from.smoothed[q], from.blotches[q]));
    }
  }

 private:
  double smoothed_, blotches_;
};

void scale(float* entry, double factor) {
  *entry = static_cast<float>(static_cast<double>(*entry) * factor);
}

// The coarser levels' rolloffs are products with the finest one's.
void setFilters(const Mix& mix, float* vector) {
  const double rolloff = mix.of(kRolloff);
  scale(&vector[NR_NOISE_LEVEL], rolloff);
  scale(&vector[NR_LEVEL1_NOISE], mix.of(kLevel1) / rolloff);
  scale(&vector[NR_LEVEL2_NOISE], mix.of(kLevel2) / rolloff);
  scale(&vector[NR_LEVEL3_NOISE], 1.0 / rolloff);
  scale(&vector[NR_LUMA_KEEP], mix.of(kKept));
  scale(&vector[NR_CHROMA_KEEP], mix.of(kKept));
}

}  // namespace

Stages setStages(const NoiseForStages& noise, float strength, float* vector) {
  Stages stages = {};
  if (!(noise.luma > 0.0f)) return stages;
  const Mix mix(noise);
  setFilters(mix, vector);
  stages.patch = static_cast<float>(mix.of(kPatch));
  stages.dotsLuma = static_cast<float>(kDotsLuma * static_cast<double>(noise.luma));
  stages.dotsChroma = static_cast<float>(kDotsChroma * static_cast<double>(noise.chroma));
  // Power goes with the square of a deviation.
  const double factor = mix.of(kShrink) * static_cast<double>(strength) * static_cast<double>(strength);
  stages.shrinkLuma = static_cast<float>(factor);
  stages.shrinkChroma = static_cast<float>(factor * kShrinkChroma);
  mix.fill(kLuma, stages.residualLuma);
  mix.fill(kChroma, stages.residualChroma);
  return stages;
}

}  // namespace veskaro::params
