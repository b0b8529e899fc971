#include "params/best.h"

#include "VeskaroNRLib.h"
#include "params/tuning.h"
#include "platform/power.h"

namespace veskaro::params {
namespace {

// Every value depends on what kind the noise is. It goes from `white` to `smoothed` with the measured correlation, and
// from there to `blotches` with the measured blotches. The constants are fits to photographs with 18 kinds of noise
// (docs/quality.md); moving any of them by a tenth changes the mean gain by a few hundredths of a decibel.
struct ByKind {
  double white, smoothed, blotches;
};

// The finest level's similarity rolloff R, in proportion to the noise: a pixel that differs by the noise's usual
// difference still counts. A little more than in proportion, since strong noise leaves little else to keep.
constexpr double kRolloffOfLuma = 12.4, kPowerOfLuma = 1.05;
constexpr double kRolloffOfBlotches = 6.2;  // blotches are larger than the fine noise tells

// A picture full of fine structure loses more to the filter than one of smooth planes, from which R may be a little
// larger: a power of what the median block shows over the noise, within bounds.
constexpr double kUsualStructure = 3.2, kPowerOfStructure = -0.35, kLeastByStructure = 0.6, kMostByStructure = 1.2;

// Noise below about one level of 8 bits is not seen, and what reads as such in a clean picture is structure.
constexpr double kFaintLuma = 1.2;

// Square roots of linear light have their strongest noise in the deepest shadows, where the smoothest blocks seldom
// lie; and what is bright has so much of a range that structure there is no measure. Where texture was read, it is
// that of dark parts, and less is taken.
constexpr double kRolloffOfLinear = 1.35;

// The coarser levels' rolloffs as shares of R. Averaging leaves little white noise for a coarser level, which would
// only smooth structure; smoothed noise has its energy there; blotches have nearly all of it there.
constexpr ByKind kLevel1 = {0.095, 0.391, 0.8};
constexpr ByKind kLevel2 = {0.06, 0.2, 0.36};
constexpr ByKind kLevel3 = {0.03, 0.05, 0.23};

// The second level takes more part as white noise grows, up to a rolloff.
constexpr double kLevel1Growth = 0.0006, kLevel1GrowsUpTo = 350.0;

// Luminance kept of the input: under weak noise most of what the filter takes is picture, under strong noise none. With
// blotches luminance is nearly clean.
constexpr double kLumaKept = 0.2, kNoLumaKeptFrom = 100.0, kLumaKeptOfBlotches = 0.54;

// Chroma kept, as a share of that, where chroma noise is as fine as luminance noise.
constexpr ByKind kChromaKept = {0.4, 0.0, -0.05};  // the last itself, not a share: a little beyond the filtered one

// Sharpening brings back fine contrast. Negative, it is a second smoothing, which smoothed noise needs.
constexpr ByKind kSharpening = {0.25, -0.65, 0.2};
constexpr ByKind kChromaSharpening = {-0.35, -1.4, -1.7};

// Entries that are the same for every noise.
struct Fixed {
  nr_param entry;
  float value;
};
constexpr Fixed kFixed[] = {
    {NR_HIGHLIGHT_NOISE, 0.7f},     // what the measurement evens out by
    {NR_LEVEL0_NOISE, 1.0f},        // R is that of the finest level
    {NR_LEVEL0_AMOUNT, 1.06f},      // a pixel's own noise, of which its neighbours' mean keeps a rest
    {NR_HIGHLIGHT_START, 1000.0f},  // highlights are filtered like all else
    {NR_HIGHLIGHT_WIDTH, 100.0f},
};

double lerp(double a, double b, double t) {
  return a + (b - a) * t;
}

class Rule {
 public:
  Rule(const NoiseForBest& noise, float strength)
      : smoothed_(static_cast<double>(noise.correlation)),
        blotches_(static_cast<double>(noise.blotches)),
        rolloff_(rolloffOf(noise) * lerp(ofPicture(noise), 1.0, blotches_) * static_cast<double>(strength)) {}

  double of(const ByKind& k) const { return lerp(lerp(k.white, k.smoothed, smoothed_), k.blotches, blotches_); }

  double rolloff() const { return rolloff_; }
  double level1() const {
    const double growth = kLevel1Growth * (rolloff_ < kLevel1GrowsUpTo ? rolloff_ : kLevel1GrowsUpTo);
    return of({kLevel1.white + growth, kLevel1.smoothed, kLevel1.blotches});
  }
  double lumaKept() const { return lerp(lumaKeptOfFine(), kLumaKeptOfBlotches, blotches_); }
  double chromaKept() const {
    const double share = lumaKeptOfFine();
    return of({kChromaKept.white * share, kChromaKept.smoothed * share, kChromaKept.blotches});
  }

 private:
  static double lumaOf(const NoiseForBest& noise) {
    constexpr double kLeast = 0.001;
    return static_cast<double>(noise.luma) > kLeast ? static_cast<double>(noise.luma) : kLeast;
  }
  static double ofPicture(const NoiseForBest& noise) {
    if (noise.isLinear) return kRolloffOfLinear * static_cast<double>(noise.kept);
    const double structure = static_cast<double>(noise.structure) / lumaOf(noise) / kUsualStructure;
    const double factor = platform::powerOf(structure, kPowerOfStructure);  // infinite without structure
    const double bounded =
        factor < kLeastByStructure ? kLeastByStructure : (factor < kMostByStructure ? factor : kMostByStructure);
    const double faint = lumaOf(noise) / kFaintLuma;
    return faint < 1.0 ? faint * bounded : bounded;
  }
  double rolloffOf(const NoiseForBest& noise) const {
    const double fine = kRolloffOfLuma * platform::powerOf(lumaOf(noise), kPowerOfLuma);
    if (!(blotches_ > 0.0)) return fine;
    const double coarse = kRolloffOfBlotches * static_cast<double>(noise.coarseChroma);
    return platform::powerOf(fine, 1.0 - blotches_) * platform::powerOf(coarse, blotches_);
  }
  double lumaKeptOfFine() const {
    const double faded = 1.0 - rolloff_ / kNoLumaKeptFrom;
    return kLumaKept * (faded > 0.0 ? faded : 0.0);
  }

  double smoothed_, blotches_;
  double rolloff_;  // which follows from the others
};

// What comes in goes out.
void keepAll(float* vector) {
  setDefaults(vector);
  vector[NR_LUMA_KEEP] = vector[NR_CHROMA_KEEP] = 1.0f;
}

}  // namespace

void setBest(const NoiseForBest& noise, float strength, float* vector) {
  if (!(noise.luma > 0.0f)) return keepAll(vector);
  setDefaults(vector);
  for (const Fixed& f : kFixed) vector[f.entry] = f.value;
  const auto set = [vector](nr_param entry, double value) { vector[entry] = static_cast<float>(value); };
  const Rule rule(noise, strength);
  set(NR_NOISE_LEVEL, rule.rolloff() / 1.5);
  set(NR_LEVEL1_NOISE, 2.0 * rule.level1());
  set(NR_LEVEL2_NOISE, 4.0 * rule.of(kLevel2));
  set(NR_LEVEL3_NOISE, 8.0 * rule.of(kLevel3));
  set(NR_LUMA_KEEP, rule.lumaKept());
  set(NR_CHROMA_KEEP, rule.chromaKept());
  set(NR_SHARPENING, rule.of(kSharpening));
  set(NR_CHROMA_SHARPENING, rule.of(kChromaSharpening));
}

}  // namespace veskaro::params
