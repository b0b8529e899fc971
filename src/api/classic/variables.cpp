// The parameter vector's functions, the exported tuning variables and constants.
#include "api/classic/variables.h"

#include "VeskaroNRLib.h"
#include "platform/fp_environment.h"

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

namespace veskaro::api {

params::Tuning tuningInForce() {
  return {NRsimilarityRolloff,
          highnoiseLevelReduce,
          {level0noiseLevel, level1noiseLevel, level2noiseLevel, level3noiseLevel},
          {level0NR, level1NR, level2NR, level3NR},
          sharpeningAmount,
          {level0SharpAmount, level1SharpAmount, level2SharpAmount, level3SharpAmount},
          chromaSharpeningAmount,
          {level0ChromaSharpAmount, level1ChromaSharpAmount, level2ChromaSharpAmount, level3ChromaSharpAmount},
          {lumaMix, chromaMix, highlightNRlowThreshold, highlightNRhighThreshold, highlightNRslope,
           highlightNRintercept, highlightNRbelowThreshold, highlightNRaboveThreshold}};
}

params::ReconstructSettings reconstructInForce() {
  return {reconSimilarityThreshold, reconSimilarityRolloff};
}

namespace {

void put(const float (&values)[params::kLevels], float* level0, float* level1, float* level2, float* level3) {
  *level0 = values[0];
  *level1 = values[1];
  *level2 = values[2];
  *level3 = values[3];
}

void put(const params::BlendSettings& blend) {
  lumaMix = blend.luma;
  chromaMix = blend.chroma;
  highlightNRlowThreshold = blend.highlightLow;
  highlightNRhighThreshold = blend.highlightHigh;
  highlightNRslope = blend.highlightSlope;
  highlightNRintercept = blend.highlightIntercept;
  highlightNRbelowThreshold = blend.highlightBelow;
  highlightNRaboveThreshold = blend.highlightAbove;
}

}  // namespace

void putInForce(const params::Tuning& t) {
  NRsimilarityRolloff = t.similarityRolloff;
  highnoiseLevelReduce = t.highlightReduction;
  put(t.levelNoise, &level0noiseLevel, &level1noiseLevel, &level2noiseLevel, &level3noiseLevel);
  put(t.levelAmount, &level0NR, &level1NR, &level2NR, &level3NR);
  sharpeningAmount = t.sharpening;
  put(t.levelSharpening, &level0SharpAmount, &level1SharpAmount, &level2SharpAmount, &level3SharpAmount);
  chromaSharpeningAmount = t.chromaSharpening;
  put(t.levelChromaSharpening, &level0ChromaSharpAmount, &level1ChromaSharpAmount, &level2ChromaSharpAmount,
      &level3ChromaSharpAmount);
  put(t.blend);
}

}  // namespace veskaro::api

extern "C" {

int nr_def(float* nrParams) {
  if (nrParams == nullptr) return NR_ERROR_ARGUMENT;
  veskaro::params::setDefaults(nrParams);
  return NR_OK;
}

void calcParams(float* nrParams) {
  const veskaro::platform::DefaultFpEnvironment environment;
  if (nrParams != nullptr) veskaro::api::putInForce(veskaro::params::deriveTuning(nrParams));
}

}  // extern "C"
