// The parameter vector, the exported tuning variables and constants, and the snapshots that the filters take of them.
#include "params/tuning.h"

#include "VeskaroNRLib.h"
#include "host/fp_environment.h"

extern "C" {

float reconSimilarityThreshold = 10.0f;
float reconSimilarityRolloff = 50.0f;
float NR_AMOUNT_FULL = 1.0f;

float NRsimilarityRolloff = 0.0f;
float highnoiseLevelReduce = 0.0f;
float level0noiseLevel = 0.0f, level1noiseLevel = 0.0f, level2noiseLevel = 0.0f, level3noiseLevel = 0.0f;
float level0NR = 0.0f, level1NR = 0.0f, level2NR = 0.0f, level3NR = 0.0f;
float sharpeningAmount = 0.0f;
float level0SharpAmount = 0.0f, level1SharpAmount = 0.0f, level2SharpAmount = 0.0f, level3SharpAmount = 0.0f;
float chromaSharpeningAmount = 0.0f;
float level0ChromaSharpAmount = 0.0f, level1ChromaSharpAmount = 0.0f;
float level2ChromaSharpAmount = 0.0f, level3ChromaSharpAmount = 0.0f;
float lumaMix = 0.0f, chromaMix = 0.0f;
float highlightNRlowThreshold = 0.0f, highlightNRhighThreshold = 0.0f;
float highlightNRslope = 0.0f, highlightNRintercept = 0.0f;
float highlightNRbelowThreshold = 0.0f, highlightNRaboveThreshold = 0.0f;
float overallSharpness = 0.0f, chromaSharpeningRatio = 0.0f, dSLRlikeness = 0.0f, OneMinusDSLRlikeness = 0.0f;

const float WHITE_LEVEL = 255.0f, BLACK_LEVEL = 0.0f;
const float inHNL = 0.2f;
const float FULL_SIMILARITY = 1.0f, NO_SIMILARITY = 0.0f;
const float NRsimilarityThreshold = 0.00001f;
const float MINIMUM_ROLLOFF = 0.00001f;
const float level0NoiseLevelScaleFactor = 1.0f, level1NoiseLevelScaleFactor = 0.5f;
const float level2NoiseLevelScaleFactor = 0.25f, level3NoiseLevelScaleFactor = 0.125f;
const float chromaSharpeningClamp = 1.0f;
const float HIGHLIGHT_NR_MAX = 0.0f;
const float HIGHLIGHT_REDUCTION_THRESHOLD_MIN = 0.0f, HIGHLIGHT_REDUCTION_THRESHOLD_MAX = 1.0f;
const float lumaCoefA = -0.5f, lumaCoefB = -0.3f, lcfsa = -0.5f, lcfsb = -0.3f;
const float coefA = 0.1f, coefB = 0.3f, coefC = 0.5f, coefD = 1.0f, coefE = 1.0f, coefF = 0.7f, coefG = 1.0f;
const float coefH = 2.0f, coefI = 2.0f, coefJ = 2.0f, coefK = 2.0f, coefL = 2.0f, coefM = 2.0f, coefN = 2.0f;
const float cfsA = 0.1f, cfsB = 0.3f, cfsC = 0.5f, cfsD = 1.0f, cfsE = 1.0f, cfsF = 0.7f, cfsG = 1.0f;
const float lumR = 0.299f, lumG = 0.587f, lumB = 0.114f, invLumG = 1.70357752f;
const float simLA = 0.0625f, simLB = 0.125f, simLC = 0.0625f;
const float simLD = 0.125f, simLE = 0.25f, simLF = 0.125f;
const float simLG = 0.0625f, simLH = 0.125f, simLI = 0.0625f;
const float simLCoefScale = 16.0f;

}  // extern "C"

namespace veskaro {
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
  return level >= 0 && level <= 3 ? level : 0;
}

// The slope comes from the rounded end of the ramp. A ramp without width is a step whose slope is never evaluated.
void deriveHighlightRamp(float low, float width) {
  const float high = low + width;
  const float roundedWidth = high - low;
  const float slope = roundedWidth == 0.0f ? -__builtin_inff() : -1.0f / roundedWidth;
  highlightNRlowThreshold = low;
  highlightNRhighThreshold = high;
  highlightNRslope = slope;
  highlightNRintercept = 1.0f - low * slope;
  highlightNRbelowThreshold = 1.0f;
  highlightNRaboveThreshold = 0.0f;
}

void deriveSharpening(const float* p) {
  const float luma = p[NR_SHARPENING] * kSharpeningScale;
  const float chroma = p[NR_CHROMA_SHARPENING] * kSharpeningScale;
  const float factor0 = p[NR_LEVEL0_SHARPENING];
  const float factor1 = 2.0f * p[NR_LEVEL1_SHARPENING];
  const float factor2 = 2.0f * p[NR_LEVEL2_SHARPENING];
  const float factor3 = 2.0f * p[NR_LEVEL3_SHARPENING];
  sharpeningAmount = luma;
  chromaSharpeningAmount = chroma;
  level0SharpAmount = factor0 * luma;
  level1SharpAmount = factor1 * luma;
  level2SharpAmount = factor2 * luma;
  level3SharpAmount = factor3 * luma;
  level0ChromaSharpAmount = factor0 * chroma;
  level1ChromaSharpAmount = factor1 * chroma;
  level2ChromaSharpAmount = factor2 * chroma;
  level3ChromaSharpAmount = factor3 * chroma;
}

}  // namespace

void setDefaultParams(float* params) {
  for (int i = 0; i < NR_PARAM_COUNT; ++i) params[i] = kDefaults[i];
}

void deriveTuning(const float* p) {
  const float rolloff = atLeast(p[NR_NOISE_LEVEL], kMinimumRolloff) * 1.5f;
  NRsimilarityRolloff = rolloff;
  highnoiseLevelReduce = atMost(atLeast(1.0f - p[NR_HIGHLIGHT_NOISE], 0.0f), kMaximumHighlightReduction);
  deriveHighlightRamp(p[NR_HIGHLIGHT_START], p[NR_HIGHLIGHT_WIDTH]);
  lumaMix = 1.0f - p[NR_LUMA_KEEP];
  chromaMix = 1.0f - p[NR_CHROMA_KEEP];
  level0NR = p[NR_LEVEL0_AMOUNT];
  level1NR = p[NR_LEVEL1_AMOUNT];
  level2NR = p[NR_LEVEL2_AMOUNT];
  level3NR = p[NR_LEVEL3_AMOUNT];
  level0noiseLevel = p[NR_LEVEL0_NOISE] * rolloff;
  level1noiseLevel = p[NR_LEVEL1_NOISE] * rolloff * 0.5f;
  level2noiseLevel = p[NR_LEVEL2_NOISE] * rolloff * 0.25f;
  level3noiseLevel = p[NR_LEVEL3_NOISE] * 0.125f * rolloff;
  deriveSharpening(p);
}

float highlightNoiseSlope() {
  return -highnoiseLevelReduce * kOneOverWhiteSum;
}

NoiseSettings noiseSettings(int level) {
  const float noise[4] = {level0noiseLevel, level1noiseLevel, level2noiseLevel, level3noiseLevel};
  const float amount[4] = {level0NR, level1NR, level2NR, level3NR};
  constexpr float kThreshold[4] = {0.00001f, 0.00002f, 0.00004f, 0.00008f};
  const int l = levelOrFinest(level);
  return {atLeast(noise[l], kMinimumRolloff), amount[l], kThreshold[l], highlightNoiseSlope()};
}

SharpenSettings sharpenSettings(int level) {
  const float luma[4] = {level0SharpAmount, level1SharpAmount, level2SharpAmount, level3SharpAmount};
  return {luma[levelOrFinest(level)], chromaSharpeningAmount};
}

ReconstructSettings reconstructSettings() {
  return {reconSimilarityThreshold, reconSimilarityRolloff};
}

BlendSettings blendSettings() {
  return {lumaMix,
          chromaMix,
          highlightNRlowThreshold,
          highlightNRhighThreshold,
          highlightNRslope,
          highlightNRintercept,
          highlightNRbelowThreshold,
          highlightNRaboveThreshold};
}

}  // namespace veskaro

extern "C" {

int nr_def(float* nrParams) {
  if (nrParams == nullptr) return NR_ERROR_ARGUMENT;
  veskaro::setDefaultParams(nrParams);
  return NR_OK;
}

void calcParams(float* nrParams) {
  const veskaro::DefaultFpEnvironment environment;
  if (nrParams != nullptr) veskaro::deriveTuning(nrParams);
}

}  // extern "C"
