#include "support/tuning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "VeskaroNRLib.h"

namespace veskaro::test {
namespace {

TEST(Tuning, DefaultsAreTheTable) {
  const std::vector<float> expected = {46.4801f, 0.2f, 1.0f, 1.0f, 1.0f, 1.0f, 0.3f,   -0.204229f, 1.0f, 1.0f, 1.0f,
                                       1.0f,     0.2f, 1.0f, 1.0f, 1.0f, 1.0f, 100.0f, 137.96f,    0.2f, 1.0f};
  std::vector<float> params(NR_PARAM_COUNT + 1, -9.0f);
  EXPECT_EQ(nr_def(params.data()), 1);
  EXPECT_EQ(params.back(), -9.0f);
  params.pop_back();
  EXPECT_EQ(params, expected);
}

TEST(Tuning, DefaultsGiveTheseSinglePrecisionValues) {
  tune();
  EXPECT_EQ(NRsimilarityRolloff, 69.720146f);
  EXPECT_EQ(level0noiseLevel, 69.720146f);
  EXPECT_EQ(level1noiseLevel, 34.860073f);
  EXPECT_EQ(level2noiseLevel, 17.430037f);
  EXPECT_EQ(level3noiseLevel, 8.715018f);
  EXPECT_EQ(highnoiseLevelReduce, 0.8f);
  EXPECT_EQ(lumaMix, 0.7f);
  EXPECT_EQ(chromaMix, 1.204229f);
  EXPECT_EQ(sharpeningAmount, 0.025f);
  EXPECT_EQ(chromaSharpeningAmount, 0.025f);
  EXPECT_EQ(level0SharpAmount, 0.025f);
  for (const float amount : {level1SharpAmount, level2SharpAmount, level3SharpAmount}) EXPECT_EQ(amount, 0.05f);
  EXPECT_EQ(highlightNRlowThreshold, 100.0f);
  EXPECT_EQ(highlightNRhighThreshold, 237.96f);
  EXPECT_EQ(highlightNRslope, -0.0072484775f);
  EXPECT_EQ(highlightNRintercept, 1.0f + 100.0f * 0.0072484775f);
  EXPECT_EQ(highlightNRbelowThreshold, 1.0f);
  EXPECT_EQ(highlightNRaboveThreshold, 0.0f);
}

// Factors that are inexact in binary, so that another order of the products shows in the last bit somewhere.
TEST(Tuning, EveryEntryReachesItsOwnVariables) {
  int orderMatters = 0;
  for (int i = 1; i <= 200; ++i) {
    const float f = 0.1f * static_cast<float>(i);
    std::vector<float> p(NR_PARAM_COUNT);
    for (int k = 0; k < NR_PARAM_COUNT; ++k) p[static_cast<std::size_t>(k)] = f + 0.37f * static_cast<float>(k);
    const std::vector<float> before = p;
    calcParams(p.data());
    EXPECT_EQ(p, before);
    const float r = p[0] * 1.5f;
    EXPECT_EQ(level0noiseLevel, p[2] * r);
    EXPECT_EQ(level1noiseLevel, p[3] * r * 0.5f);
    EXPECT_EQ(level2noiseLevel, p[4] * r * 0.25f);
    EXPECT_EQ(level3noiseLevel, p[5] * 0.125f * r);
    EXPECT_EQ(level0NR, p[8]);
    EXPECT_EQ(level1NR, p[9]);
    EXPECT_EQ(level2NR, p[10]);
    EXPECT_EQ(level3NR, p[11]);
    const float s = p[12] * 0.125f;
    const float c = p[19] * 0.125f;
    EXPECT_EQ(level0SharpAmount, s * p[13]);
    EXPECT_EQ(level1SharpAmount, 2.0f * p[14] * s);
    EXPECT_EQ(level2SharpAmount, 2.0f * p[15] * s);
    EXPECT_EQ(level3SharpAmount, 2.0f * p[16] * s);
    EXPECT_EQ(level0ChromaSharpAmount, p[13] * c);
    EXPECT_EQ(level1ChromaSharpAmount, 2.0f * p[14] * c);
    EXPECT_EQ(level2ChromaSharpAmount, 2.0f * p[15] * c);
    EXPECT_EQ(level3ChromaSharpAmount, 2.0f * p[16] * c);
    EXPECT_EQ(lumaMix, 1.0f - p[6]);
    EXPECT_EQ(chromaMix, 1.0f - p[7]);
    const float high = p[17] + p[18];
    EXPECT_EQ(highlightNRslope, -1.0f / (high - p[17]));
    EXPECT_EQ(highlightNRintercept, 1.0f - p[17] * highlightNRslope);
    orderMatters += -1.0f / (high - p[17]) != -1.0f / p[18];
  }
  EXPECT_GT(orderMatters, 20);  // else the rounded end of the ramp went untested
}

TEST(Tuning, BoundsHold) {
  for (const float none : {0.0f, -3.0f, 0.000001f}) {
    tune({{NR_NOISE_LEVEL, none}});
    EXPECT_EQ(NRsimilarityRolloff, 0.00001f * 1.5f);
  }
  tune({{NR_HIGHLIGHT_NOISE, 1.5f}});
  EXPECT_EQ(highnoiseLevelReduce, 0.0f);
  tune({{NR_HIGHLIGHT_NOISE, 0.001f}});
  EXPECT_EQ(highnoiseLevelReduce, 0.99f);
  tune({{NR_HIGHLIGHT_WIDTH, 0.0f}});
  EXPECT_EQ(highlightNRslope, -INFINITY);
  EXPECT_EQ(highlightNRhighThreshold, 100.0f);
}

TEST(Tuning, ConstantsAreTheDocumentedValues) {
  EXPECT_EQ((std::vector<float>{coefA, coefB, coefC, coefD, coefE, coefF, coefG}),
            (std::vector<float>{0.1f, 0.3f, 0.5f, 1.0f, 1.0f, 0.7f, 1.0f}));
  EXPECT_EQ((std::vector<float>{cfsA, cfsB, cfsC, cfsD, cfsE, cfsF, cfsG}),
            (std::vector<float>{0.1f, 0.3f, 0.5f, 1.0f, 1.0f, 0.7f, 1.0f}));
  for (const float two : {coefH, coefI, coefJ, coefK, coefL, coefM, coefN}) EXPECT_EQ(two, 2.0f);
  EXPECT_EQ((std::vector<float>{lumR, lumG, lumB, invLumG}), (std::vector<float>{0.299f, 0.587f, 0.114f, 1.70357752f}));
  const std::vector<float> kernel = {simLA, simLB, simLC, simLD, simLE, simLF, simLG, simLH, simLI};
  EXPECT_EQ(kernel,
            (std::vector<float>{1 / 16.f, 1 / 8.f, 1 / 16.f, 1 / 8.f, 1 / 4.f, 1 / 8.f, 1 / 16.f, 1 / 8.f, 1 / 16.f}));
  EXPECT_EQ((std::vector<float>{WHITE_LEVEL, BLACK_LEVEL, inHNL, FULL_SIMILARITY, NO_SIMILARITY, simLCoefScale}),
            (std::vector<float>{255.0f, 0.0f, 0.2f, 1.0f, 0.0f, 16.0f}));
  EXPECT_EQ((std::vector<float>{NRsimilarityThreshold, MINIMUM_ROLLOFF, chromaSharpeningClamp, HIGHLIGHT_NR_MAX,
                                HIGHLIGHT_REDUCTION_THRESHOLD_MIN, HIGHLIGHT_REDUCTION_THRESHOLD_MAX}),
            (std::vector<float>{0.00001f, 0.00001f, 1.0f, 0.0f, 0.0f, 1.0f}));
  EXPECT_EQ((std::vector<float>{level0NoiseLevelScaleFactor, level1NoiseLevelScaleFactor, level2NoiseLevelScaleFactor,
                                level3NoiseLevelScaleFactor, lumaCoefA, lumaCoefB, lcfsa, lcfsb}),
            (std::vector<float>{1.0f, 0.5f, 0.25f, 0.125f, -0.5f, -0.3f, -0.5f, -0.3f}));
}

}  // namespace
}  // namespace veskaro::test
