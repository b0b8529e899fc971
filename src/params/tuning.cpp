#include "params/tuning.h"

#include "VeskaroNRLib.h"

namespace veskaro::params {
namespace {

constexpr float kDefaults[NR_PARAM_COUNT] = {46.4801f,   0.2f, 1.0f, 1.0f,   1.0f,    1.0f, 0.3f,
                                             -0.204229f, 1.0f, 1.0f, 1.0f,   1.0f,    0.2f, 1.0f,
                                             1.0f,       1.0f, 1.0f, 100.0f, 137.96f, 0.2f, 1.0f};

constexpr float kMinimumRolloff = 0.00001f;
constexpr float kMaximumHighlightReduction = 0.99f;
constexpr float kSharpeningScale = 0.125f;
constexpr float kOneOverWhiteSum = 0.0013071896f;  // 1 / (3 * 255)

// Not a number counts as the bound, so that a damaged vector still gives defined settings.
float atLeast(float value, float bound) {
  return value > bound ? value : bound;
}
float atMost(float value, float bound) {
  return value < bound ? value : bound;
}

int levelOrFinest(int level) {
  return level >= 0 && level < kLevels ? level : 0;
}

// The slope comes from the rounded end of the ramp. A ramp without width is a step whose slope is never evaluated.
void deriveHighlightRamp(float low, float width, BlendSettings* blend) {
  const float high = low + width;
  const float roundedWidth = high - low;
  blend->highlightLow = low;
  blend->highlightHigh = high;
  blend->highlightSlope = roundedWidth == 0.0f ? -__builtin_inff() : -1.0f / roundedWidth;
  blend->highlightIntercept = 1.0f - low * blend->highlightSlope;
  blend->highlightBelow = 1.0f;
  blend->highlightAbove = 0.0f;
}

void deriveSharpening(const float* p, Tuning* t) {
  t->sharpening = p[NR_SHARPENING] * kSharpeningScale;
  t->chromaSharpening = p[NR_CHROMA_SHARPENING] * kSharpeningScale;
  for (int level = 0; level < kLevels; ++level) {
    const float multiplier = p[NR_LEVEL0_SHARPENING + level];
    const float factor = level == 0 ? multiplier : 2.0f * multiplier;
    t->levelSharpening[level] = factor * t->sharpening;
    t->levelChromaSharpening[level] = factor * t->chromaSharpening;
  }
}

}  // namespace

void setDefaults(float* vector) {
  for (int i = 0; i < NR_PARAM_COUNT; ++i) vector[i] = kDefaults[i];
}

Tuning deriveTuning(const float* p) {
  Tuning t;
  const float rolloff = atLeast(p[NR_NOISE_LEVEL], kMinimumRolloff) * 1.5f;
  t.similarityRolloff = rolloff;
  t.highlightReduction = atMost(atLeast(1.0f - p[NR_HIGHLIGHT_NOISE], 0.0f), kMaximumHighlightReduction);
  deriveHighlightRamp(p[NR_HIGHLIGHT_START], p[NR_HIGHLIGHT_WIDTH], &t.blend);
  t.blend.luma = 1.0f - p[NR_LUMA_KEEP];
  t.blend.chroma = 1.0f - p[NR_CHROMA_KEEP];
  for (int level = 0; level < kLevels; ++level) t.levelAmount[level] = p[NR_LEVEL0_AMOUNT + level];
  t.levelNoise[0] = p[NR_LEVEL0_NOISE] * rolloff;
  t.levelNoise[1] = p[NR_LEVEL1_NOISE] * rolloff * 0.5f;
  t.levelNoise[2] = p[NR_LEVEL2_NOISE] * rolloff * 0.25f;
  t.levelNoise[3] = p[NR_LEVEL3_NOISE] * 0.125f * rolloff;
  deriveSharpening(p, &t);
  return t;
}

float highlightNoiseSlope(float highlightReduction) {
  return -highlightReduction * kOneOverWhiteSum;
}

NoiseSettings noiseSettings(const Tuning& t, int level) {
  constexpr float kThreshold[kLevels] = {0.00001f, 0.00002f, 0.00004f, 0.00008f};
  const int l = levelOrFinest(level);
  return {atLeast(t.levelNoise[l], kMinimumRolloff), t.levelAmount[l], kThreshold[l],
          highlightNoiseSlope(t.highlightReduction)};
}

SharpenSettings sharpenSettings(const Tuning& t, int level) {
  return {t.levelSharpening[levelOrFinest(level)], t.chromaSharpening};
}

TileSettings tileSettings(const Tuning& tuning, const ReconstructSettings& reconstruct) {
  TileSettings s;
  for (int level = 0; level < kLevels; ++level) {
    s.noise[level] = noiseSettings(tuning, level);
    s.sharpen[level] = sharpenSettings(tuning, level);
  }
  s.reconstruct = reconstruct;
  s.blend = tuning.blend;
  return s;
}

}  // namespace veskaro::params
