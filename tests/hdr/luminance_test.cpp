#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "hdr/detail/detail_levels.h"
#include "hdr/luminance/threshold_curve.h"
#include "hdr/rgbe_pictures.h"

namespace veskaro::test {
namespace {

RgbePicture denoised(const RgbePicture& picture, const LuminanceLevels& levels) {
  const Outcome outcome = callLuminance(picture, levels);
  EXPECT_EQ(outcome.code, picture.height);
  return outcome.result;
}

using hdr::ThresholdCurve;

ThresholdCurve curve(bool midTones, float shadows, float median, float saturation) {
  return ThresholdCurve({midTones, shadows, median, saturation, 1.0f}, 0);
}

TEST(ThresholdCurve, FallsFromTheShadowsToTheSaturationLevel) {
  const float full = hdr::noiseCoefficient(0);
  const ThresholdCurve strong = curve(true, -1.0f, 1.0f, 3.0f);
  EXPECT_EQ(strong(-1.5f), full);
  EXPECT_NEAR(strong(-1.0f), full, 1e-6);
  EXPECT_NEAR(strong(0.0f), 0.55 * full, 1e-6);
  EXPECT_NEAR(strong(1.0f), 0.1 * full, 1e-6);
  EXPECT_NEAR(strong(2.0f), 0.05 * full, 1e-6);
  EXPECT_NEAR(strong(3.0f), 0.0, 1e-6);
  EXPECT_NEAR(strong(5.0f), -0.1 * full, 1e-6);
  const ThresholdCurve shadowsOnly = curve(false, -1.0f, 1.0f, 3.0f);
  EXPECT_EQ(shadowsOnly(-1.01f), full);
  const ThresholdCurve skewed = curve(true, -1.3f, 0.9f, 2.7f);
  const float tenth = static_cast<float>(0.1 * full);
  EXPECT_EQ(skewed(0.0f), (-1.3f * tenth - 0.9f * full) / (-1.3f - 0.9f)) << "where the first line meets the axis";
  for (float s : {-1.0f, 0.0f, 2.0f, 9.0f}) EXPECT_EQ(shadowsOnly(s), 0.0f);
}

TEST(ThresholdCurve, LevelsThatCoincide) {
  const float full = hdr::noiseCoefficient(0), tenth = static_cast<float>(0.1 * full);
  const ThresholdCurve noMiddle = curve(true, 1.0f, 1.0f, 3.0f);
  EXPECT_EQ(noMiddle(1.0f), full);
  EXPECT_NEAR(noMiddle(1.001f), tenth, 1e-3);
  const ThresholdCurve noTop = curve(true, -1.0f, 1.0f, 1.0f);
  EXPECT_NEAR(noTop(0.999f), tenth, 1e-3);
  EXPECT_EQ(noTop(1.0f), tenth);
  EXPECT_EQ(noTop(1.001f), 0.0f);
  const ThresholdCurve point = curve(true, 1.0f, 1.0f, 1.0f);
  EXPECT_EQ(point(0.9f), full);
  EXPECT_EQ(point(1.0f), full);
  EXPECT_EQ(point(1.1f), 0.0f);
  const ThresholdCurve shadowsOnly = curve(false, 1.0f, 7.0f, 1.0f);
  EXPECT_EQ(shadowsOnly(0.9f), full);
  EXPECT_EQ(shadowsOnly(1.0f), 0.0f);
  EXPECT_EQ(shadowsOnly(1.1f), 0.0f);
}

// Left half dark, right half bright, the same relative noise in both.
RgbePicture noisyHalves(int w, int h) {
  std::mt19937 random(8);
  std::normal_distribution<double> noise(0.0, 0.04);
  return makePicture(w, h, [&](int i, int) {
    const double v = (i < w / 2 ? 0.05 : 20.0) * std::exp(noise(random));
    return Colour{v, 0.7 * v, 0.5 * v};
  });
}

double deviation(const RgbePicture& p, int from, int to) {
  double sum = 0, squares = 0, n = 0;
  for (int j = 40; j < p.height - 40; ++j) {
    for (int i = from; i < to; ++i, ++n) {
      const double v = std::log(p.value(i, j).sum());
      sum += v;
      squares += v * v;
    }
  }
  return std::sqrt(squares / n - sum / n * (sum / n));
}

TEST(Luminance, CleansTheShadowsAndLeavesTheRest) {
  const int w = 240, h = 120;
  const RgbePicture noisy = noisyHalves(w, h), clean = denoised(noisy, {0, -1.0f, 2.0f, 4.0f, 0.2f});
  EXPECT_LT(deviation(clean, 30, 80), deviation(noisy, 30, 80) / 4);
  EXPECT_NEAR(deviation(clean, 160, 210), deviation(noisy, 160, 210), 0.002);
  for (int i = 160; i < w; ++i) {
    const auto before = noisy.value(i, 60), after = clean.value(i, 60);
    ASSERT_NEAR(after.sum(), before.sum(), 4 * std::ldexp(1.0, clean.pixel(i, 60)[3] - 136));
  }
  // With the mid-tones the bright half is smoothed too, the less the nearer to the saturation level.
  EXPECT_LT(deviation(denoised(noisy, {1, -1.0f, 2.9f, 4.0f, 2.0f}), 160, 210), deviation(noisy, 160, 210) / 2);
}

TEST(Luminance, BlackBecomesGrey) {
  RgbePicture picture(80, 80);
  picture.setPixel(70, 70, {200, 100, 50, 0});
  const RgbePicture black = denoised(picture, {0, -5.0f, 0.0f, 1.0f, 0.1f});
  for (int j = 0; j < 80; ++j) {
    for (int i = 0; i < 80; ++i) ASSERT_EQ(black.pixel(i, j), (Pixel{128, 128, 128, 129}));
  }
}

// Thresholds far below 0 push the luminance past every float; such pixels keep their bytes.
TEST(Luminance, EndlessResultsKeepTheirBytes) {
  const RgbePicture picture = randomPicture(50, 40, Kind::kNarrow, 6);
  EXPECT_EQ(denoised(picture, {0, 1e9f, 0.0f, 0.0f, -INFINITY}).bytes, picture.bytes);
  const RgbePicture undefined = denoised(picture, {1, NAN, NAN, NAN, NAN});
  for (int j = 0; j < 40; ++j) {
    for (int i = 0; i < 50; ++i) ASSERT_NE(undefined.pixel(i, j)[3], 0);
  }
}

}  // namespace
}  // namespace veskaro::test
