#include "support/tuning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "VeskaroNRLib.h"
#include "support/digest.h"

namespace veskaro::test {
namespace {

// Factors that are inexact in binary, so that another order of the products shows in the last bit somewhere.
TEST(Tuning, EveryVariableIsDerivedInItsOwnOrder) {
  Digest digest;
  for (int i = 0; i <= 200; ++i) {
    std::vector<float> p = defaultParams();
    for (int k = 0; i > 0 && k < NR_PARAM_COUNT; ++k) {
      p[static_cast<std::size_t>(k)] = 0.1f * static_cast<float>(i) + 0.37f * static_cast<float>(k);
    }
    const std::vector<float> before = p;
    calcParams(p.data());
    EXPECT_EQ(p, before);
    digest.add(std::vector<float>{NRsimilarityRolloff,
                                  highnoiseLevelReduce,
                                  level0noiseLevel,
                                  level1noiseLevel,
                                  level2noiseLevel,
                                  level3noiseLevel,
                                  level0NR,
                                  level1NR,
                                  level2NR,
                                  level3NR,
                                  sharpeningAmount,
                                  level0SharpAmount,
                                  level1SharpAmount,
                                  level2SharpAmount,
                                  level3SharpAmount,
                                  chromaSharpeningAmount,
                                  level0ChromaSharpAmount,
                                  level1ChromaSharpAmount,
                                  level2ChromaSharpAmount,
                                  level3ChromaSharpAmount,
                                  lumaMix,
                                  chromaMix,
                                  highlightNRlowThreshold,
                                  highlightNRhighThreshold,
                                  highlightNRslope,
                                  highlightNRintercept});
  }
  EXPECT_EQ(digest.text(), "ea3a0202f07f4e9f");
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

}  // namespace
}  // namespace veskaro::test
