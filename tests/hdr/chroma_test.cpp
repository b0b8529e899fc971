#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "hdr/rgbe_pictures.h"
#include "support/targets.h"

namespace veskaro::test {
namespace {

RgbePicture denoised(const RgbePicture& picture, const ChromaLevels& levels) {
  const Outcome outcome = callChroma(picture, levels);
  EXPECT_EQ(outcome.code, picture.height);
  EXPECT_EQ(outcome.picture.bytes, picture.bytes);
  return outcome.result;
}

// A grey picture whose pixels have the wrong hue at random.
RgbePicture hueNoise(int w, int h) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> noise(-0.06, 0.06);
  return makePicture(w, h, [&](int i, int) {
    const double sum = 0.5 + i / 100.0;
    const double r = 1.0 / 3 + noise(random), g = 1.0 / 3 + noise(random);
    return Colour{r * sum, g * sum, (1 - r - g) * sum};
  });
}

double hueDeviation(const RgbePicture& p) {
  double sum = 0;
  for (int j = 0; j < p.height; ++j) {
    for (int i = 0; i < p.width; ++i) {
      const Colour c = p.value(i, j);
      sum += std::pow(c.r / c.sum() - 1.0 / 3, 2) + std::pow(c.g / c.sum() - 1.0 / 3, 2);
    }
  }
  return std::sqrt(sum / (2.0 * p.width * p.height));
}

TEST(Chroma, TakesHueNoiseAndKeepsTheColourSum) {
  const RgbePicture noisy = hueNoise(160, 120);
  const RgbePicture clean = denoised(noisy, {0, 0.4f, 1e9f, 2e9f});
  EXPECT_LT(hueDeviation(clean), hueDeviation(noisy) / 5);
  for (int j = 0; j < noisy.height; ++j) {
    for (int i = 0; i < noisy.width; ++i) {
      const double before = noisy.value(i, j).sum(), after = clean.value(i, j).sum();
      const double step = std::ldexp(1.0, clean.pixel(i, j)[3] - 136);
      ASSERT_LE(after, before * (1 + 1e-5));
      ASSERT_GE(after, before - 3 * step) << "each channel is truncated by less than a step";
    }
  }
}

TEST(Chroma, BrightPixelsKeepTheirBytes) {
  const RgbePicture picture = randomPicture(70, 50, Kind::kNarrow, 9);
  EXPECT_EQ(denoised(picture, {0, 0.4f, 0.0f, 1e9f}).bytes, picture.bytes);
  EXPECT_EQ(denoised(picture, {-5, 0.4f, 0.0f, 1e9f}).bytes, picture.bytes);
  EXPECT_EQ(denoised(picture, {1, 0.4f, 0.0f, 0.0f}).bytes, picture.bytes) << "no width between the levels";
  forEachTarget([&](const char*) {
    for (int i = 0; i < picture.width; ++i) {
      const float sum = static_cast<float>(picture.value(i, 25).sum());
      ASSERT_EQ(denoised(picture, {0, 0.4f, sum, 1e9f}).pixel(i, 25), picture.pixel(i, 25)) << "at the level itself";
    }
  });
}

// From the shadows level (all smoothed) to the saturation level (untouched) the weight falls along a line.
TEST(Chroma, BlendsBetweenTheLevels) {
  const RgbePicture picture = randomPicture(70, 50, Kind::kNarrow, 9);
  const RgbePicture smooth = denoised(picture, {0, 0.4f, 1e9f, 2e9f});
  const ChromaLevels blend = {1, 0.4f, 0.5f, 4.0f};
  const RgbePicture result = denoised(picture, blend);
  for (int j = 0; j < picture.height; ++j) {
    for (int i = 0; i < picture.width; ++i) {
      const Colour own = picture.value(i, j), smoothed = smooth.value(i, j), got = result.value(i, j);
      const double weight = std::max(0.0, std::min(1.0, (blend.saturation - own.sum()) / 3.5));
      const double step = std::ldexp(1.0, std::max(result.pixel(i, j)[3], smooth.pixel(i, j)[3]) - 136);
      ASSERT_NEAR(got.g, own.g + weight * (smoothed.g - own.g), 2 * step) << i << ", " << j;
    }
  }
  const RgbePicture top = denoised(picture, {1, 0.4f, 100.0f, 200.0f});
  EXPECT_EQ(top.bytes, smooth.bytes) << "all below the shadows level";
}

TEST(Chroma, BlackStaysBlackAndFlatStaysFlat) {
  RgbePicture picture = makePicture(40, 36, [](int, int) { return Pixel{128, 64, 64, 130}; });
  EXPECT_EQ(denoised(picture, {0, 0.4f, 1e9f, 2e9f}).bytes, picture.bytes);
  picture.setPixel(5, 5, {200, 100, 50, 0});
  picture.setPixel(6, 5, {0, 0, 0, 130});
  const RgbePicture result = denoised(picture, {0, 0.4f, 1e9f, 2e9f});
  EXPECT_EQ(result.pixel(5, 5), (Pixel{0, 0, 0, 0}));
  EXPECT_EQ(result.pixel(6, 5), (Pixel{0, 0, 0, 0}));
}

// A sum beyond the float range: its own bytes, and to its neighbours the same as a black pixel.
TEST(Chroma, EndlessSumsDoNotSpread) {
  RgbePicture endless = randomPicture(64, 48, Kind::kNarrow, 2), black = endless;
  endless.setPixel(30, 20, {255, 254, 253, 255});
  black.setPixel(30, 20, {0, 0, 0, 0});
  const ChromaLevels levels = {0, 0.4f, 1e9f, 2e9f};
  RgbePicture result = denoised(endless, levels);
  EXPECT_EQ(result.pixel(30, 20), endless.pixel(30, 20));
  result.setPixel(30, 20, {0, 0, 0, 0});
  EXPECT_EQ(result.bytes, denoised(black, levels).bytes);
}

}  // namespace
}  // namespace veskaro::test
