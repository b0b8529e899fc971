#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "VeskaroNRLib.h"
#include "support/pictures.h"
#include "support/tuning.h"

namespace veskaro::test {
namespace {

// Weight that NRgetSimilarity gives a neighbour of another luma: coefficient 0.5, threshold 2, rolloff 8, where
// half of the weight is left.
float noiseWeight(float lumaDifference) {
  float centreAndOther[6] = {50.0f, 0.0f, 0.0f, 50.0f + lumaDifference, 0.0f, 0.0f};
  float rgb[6] = {0.0f, 0.0f, 0.0f, 1.0f, 2.0f, 3.0f};
  float sums[3] = {0.0f, 0.0f, 0.0f};
  float weight = 0.0f;
  NRgetSimilarity(50.0f, 0.0f, 0.0f, 2.0f, 8.0f, 1.0f / 16.0f, sums, &weight, 3, centreAndOther, rgb, 0.5f);
  EXPECT_EQ(sums[0], weight);
  EXPECT_EQ(sums[2], 3.0f * weight);
  return weight;
}

// Weight of sharpening: coefficient 0.5, threshold 8, rolloff 2, the falling slope of another class.
float sharpenWeight(float difference) {
  float pixels[6] = {10.0f, 10.0f, 10.0f, 10.0f, 10.0f + difference, 10.0f};
  float sums[3] = {0.0f, 0.0f, 0.0f};
  float weight = 0.0f;
  sharpSimilarityFromSimPixel(8.0f, 2.0f, -1.0f, -1.0f, sums, &weight, 0, 3, pixels, -1.0f, 0.5f / 8.0f, 0.3f / 2.0f,
                              0.5f);
  EXPECT_EQ(sums[0], 10.0f * weight);
  return weight;
}

TEST(Neighbour, WeighsByDistance) {
  EXPECT_EQ(noiseWeight(0.0f), 0.5f);
  EXPECT_EQ(noiseWeight(-1.0f), 0.5f);  // luma counts twice: distance 2, the threshold itself
  EXPECT_EQ(noiseWeight(3.0f), 0.375f);
  EXPECT_EQ(noiseWeight(5.0f), 0.25f);
  EXPECT_EQ(noiseWeight(5.5f), 0.0f);

  EXPECT_EQ(sharpenWeight(0.0f), 0.0f);
  EXPECT_EQ(sharpenWeight(-4.0f), 0.25f);
  EXPECT_EQ(sharpenWeight(8.0f), 0.5f);
  EXPECT_EQ(sharpenWeight(9.0f), 0.5f - 0.15f);
  EXPECT_EQ(sharpenWeight(10.0f), 0.0f);
}

TEST(Neighbour, BrightPixelsAreAllowedLessNoise) {
  tune();
  float threshold = 0.0f;
  float rolloff = 0.0f;
  for (const float black : {0.0f, -30.0f}) {
    noiseTransferFunction(black, black, black, 3.0f, 5.0f, &threshold, &rolloff);
    EXPECT_EQ(threshold, 3.0f);
    EXPECT_EQ(rolloff, 5.0f);
  }
  for (const float white : {255.0f, 400.0f}) {
    noiseTransferFunction(white, white, white, 3.0f, 5.0f, &threshold, &rolloff);
    EXPECT_NEAR(threshold, 0.6f, 1e-6);
    EXPECT_NEAR(rolloff, 1.0f, 1e-6);
  }
  noiseTransferFunction(0.0f, 255.0f, 127.5f, 3.0f, 5.0f, &threshold, &rolloff);
  EXPECT_FLOAT_EQ(rolloff, 3.0f);
}

TEST(ColourDifference, GoesThereAndBack) {
  for (const auto& [r, g, b] :
       std::vector<std::array<float, 3>>{{0, 0, 0}, {255, 0, 0}, {12.5f, 300, -40}, {9, 9, 9}}) {
    float y, cb, cr, backR, backG, backB;
    RGBtoYCbCr(r, g, b, &y, &cb, &cr);
    EXPECT_NEAR(y, 0.299 * r + 0.587 * g + 0.114 * b, 1e-4);
    EXPECT_NEAR(cb, b - y, 1e-4);
    EXPECT_NEAR(cr, r - y, 1e-4);
    YCbCrToRGB(&backR, &backG, &backB, y, cb, cr);
    EXPECT_NEAR(backR, r, 1e-4);
    EXPECT_NEAR(backG, g, 1e-4);
    EXPECT_NEAR(backB, b, 1e-4);
  }
}

TEST(EdgeSmooth, ComparesTheMiddlesOfOpposingPaths) {
  float pixels[18] = {};
  for (int k = 0; k < 3; ++k) pixels[9 + k] = pixels[12 + k] = pixels[15 + k] = 20.0f;  // D, E, F against A, B, C
  EXPECT_EQ(edgeSmoothCompareOpposingPoints(0, 3, 6, 9, 12, 15, 30.0f, pixels), 60.0f);
  pixels[0] = 5.0f;  // A leaves its path by 5, which counts 1.2 times at this noise
  EXPECT_FLOAT_EQ(edgeSmoothCompareOpposingPoints(0, 3, 6, 9, 12, 15, 30.0f, pixels), 54.0f);
  pixels[0] = 90.0f;
  EXPECT_EQ(edgeSmoothCompareOpposingPoints(0, 3, 6, 9, 12, 15, 30.0f, pixels), 0.0f);
}

TEST(EdgeSmooth, LooksInFourDirections) {
  // Pixels 0 1 2 / 3 4 5 / 6 7 8: the paths on opposite sides of pixel 4.
  constexpr int kPaths[4][6] = {{3, 0, 1, 5, 8, 7}, {0, 1, 2, 6, 7, 8}, {1, 2, 5, 7, 6, 3}, {2, 5, 8, 0, 3, 6}};
  int positive = 0;
  for (unsigned seed = 0; seed < 40; ++seed) {
    Level window = makeLevel(3, 3, seed % 2 == 0 ? Kind::kFlatNoise : Kind::kWhole, seed);
    for (int k = 0; k < 9; ++k) window.at(0, 0)[k] += 40.0f;
    float* img = window.samples.data();
    float sum = 0.0f;
    for (const auto& p : kPaths) {
      const float one =
          edgeSmoothCompareOpposingPoints(3 * p[0], 3 * p[1], 3 * p[2], 3 * p[3], 3 * p[4], 3 * p[5], 12.0f, img);
      positive += one > 0.0f;
      sum += one;
    }
    EXPECT_FLOAT_EQ(edgeSmoothInverseSimSum(3, 9, img, 0.0f, 12, 12.0f), sum);
  }
  EXPECT_GT(positive, 20);
}

}  // namespace
}  // namespace veskaro::test
