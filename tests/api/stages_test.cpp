// The stages beyond denoise2's filters.
#include <algorithm>
#include <cmath>
#include <random>

#include "api/pictures.h"

namespace veskaro::test {
namespace {

// The filters change nothing, so that what a stage is given and what it gives are known.
vnr_settings stagesAlone(int tile = 64) {
  vnr_settings s;
  s.struct_size = sizeof s;
  EXPECT_EQ(vnr_settings_classic(nullptr, 1.0f, &s), VNR_OK);
  s.params[NR_LUMA_KEEP] = s.params[NR_CHROMA_KEEP] = 1.0f;
  s.params[NR_HIGHLIGHT_NOISE] = 0.7f;
  s.tile = tile;
  s.rounding = VNR_ROUND_NONE;
  return s;
}

std::vector<float> onFloats(const std::vector<float>& samples, int width, int height, const vnr_settings& s) {
  return filtered(samples, viewOf(samples, width, height, 255.0f), s);
}

void expectNear(const std::vector<float>& expected, const std::vector<float>& actual, float most) {
  float worst = 0.0f;
  for (std::size_t i = 0; i < expected.size(); ++i) worst = std::max(worst, std::fabs(expected[i] - actual[i]));
  EXPECT_LE(worst, most);
}

TEST(Stages, DotsGoStarsAndLinesStay) {
  constexpr int kWidth = 90, kHeight = 70;
  std::vector<float> flat(3 * kWidth * kHeight, 50.0f);
  const auto add = [&](std::vector<float>& to, int x, int y, float r, float g, float b) {
    float* const p = &to[3 * static_cast<std::size_t>(y * kWidth + x)];
    p[0] += r, p[1] += g, p[2] += b;
  };
  std::vector<float> kept = flat;
  add(kept, 30, 40, 70.0f, 70.0f, 70.0f);                                       // a star
  for (int x = 5; x < 85; ++x) add(kept, x, 20, 30.0f, 30.0f, 30.0f);           // lines, across tiles
  for (int y = 30; y < kHeight; ++y) add(kept, 75, y, -30.0f, -30.0f, -30.0f);  // to the edge
  std::vector<float> dotted = kept;
  for (const auto& [x, y] : {std::pair{0, 0}, {45, 0}, {89, 69}, {63, 10}, {64, 64}, {10, 50}}) {
    add(dotted, x, y, 30.0f, 30.0f, 30.0f);
  }
  add(dotted, 20, 60, 0.0f, 0.0f, -40.0f);
  vnr_settings s = stagesAlone();
  s.dots_luma = s.dots_chroma = 12.0f;
  expectNear(kept, onFloats(dotted, kWidth, kHeight, s), 1e-4f);
  s.dots_luma = 0.0f;
  EXPECT_GT(onFloats(dotted, kWidth, kHeight, s)[0], 79.0f) << "of luminance";
}

// Without noise the blocks give back what guides them, or what is asked back of the input: so they lie where they
// should and their windows add up, in pictures of any size.
TEST(Stages, BlocksGiveBackWhatTheyTake) {
  for (const auto& [width, height] : {std::pair{1, 1}, {2, 9}, {7, 3}, {8, 65}, {61, 1}, {607, 12}}) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    const auto samples = sceneOf<float>(width, height, 5);
    vnr_settings s = stagesAlone(700);
    s.params[NR_LUMA_KEEP] = s.params[NR_CHROMA_KEEP] = 0.5f;
    s.dots_luma = 1e-30f;  // a guide, and no more
    const auto guide = onFloats(samples, width, height, s);
    s.shrink_luma = s.shrink_chroma = 1.0f;
    expectNear(guide, onFloats(samples, width, height, s), 2e-3f);
    std::fill(s.residual_luma, s.residual_luma + 8, 1.0f);
    std::fill(s.residual_chroma, s.residual_chroma + 8, 1.0f);
    expectNear(samples, onFloats(samples, width, height, s), 0.3f);  // but for what the guide has hardly any of
  }
}

// A wave that is one coefficient of every block loses what the noise has of its power, less where it is bright.
TEST(Stages, AWaveIsShrunkByItsShare) {
  constexpr int kWidth = 96, kHeight = 88;
  constexpr float kAmplitude = 6.0f, kMean = 120.0f, kNoise = 700.0f;
  const float wave[4] = {1.0f, -1.0f, -1.0f, 1.0f};
  for (const bool isVertical : {false, true}) {
    std::vector<float> samples(3 * kWidth * kHeight);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] = kMean + kAmplitude * wave[(isVertical ? i / 3 / kWidth : i / 3 % kWidth) % 4];
    }
    vnr_settings s = stagesAlone();
    s.shrink_luma = s.shrink_chroma = 0.5f;
    s.spectrum[0][isVertical ? 32 : 4] = kNoise;
    const auto result = onFloats(samples, kWidth, kHeight, s);
    const float m = 1.0f - 0.3f * kMean / 255.0f, power = 64.0f * kAmplitude * kAmplitude;
    const float left = power / (power + 0.5f * m * m * kNoise);
    for (int y = 8; y < kHeight - 8; ++y) {
      for (int k = 3 * 8; k < 3 * (kWidth - 8); ++k) {
        const std::size_t i = static_cast<std::size_t>(3 * kWidth * y + k);
        ASSERT_NEAR(result[i] - kMean, left * (samples[i] - kMean), 2e-3f) << k / 3 << ", " << y;
      }
    }
  }
}

// Neighbours across a tile's border differ as they do inside.
TEST(Stages, TilesLeaveNoSeams) {
  constexpr int kSide = 512, kTile = 64;
  std::mt19937 random(3);
  std::normal_distribution<float> noise(0.0f, 12.0f);
  std::vector<float> samples(3 * kSide * kSide);
  for (float& v : samples) v = 110.0f + noise(random);
  vnr_noise measured = noiseOf(viewOf(samples, kSide, kSide, 255.0f));
  vnr_settings s;
  s.struct_size = sizeof s;
  ASSERT_EQ(vnr_settings_fast(&measured, 1.0f, &s), VNR_OK);
  s.tile = kTile;
  s.patch = 0.6f;
  s.dots_luma = s.dots_chroma = 12.0f;
  s.shrink_luma = s.shrink_chroma = 0.6f;
  for (auto& channel : s.spectrum) std::fill(channel, channel + 64, 80.0f);
  std::fill(s.residual_luma, s.residual_luma + 8, 0.6f);
  const auto result = onFloats(samples, kSide, kSide, s);
  double atBorders = 0.0, inside = 0.0;
  for (int y = 1; y < kSide; ++y) {
    for (int x = 1; x < kSide; ++x) {
      const float* const p = &result[3 * static_cast<std::size_t>(y * kSide + x)];
      const double across = std::fabs(p[1] - p[-2]), down = std::fabs(p[1] - p[1 - 3 * kSide]);
      (x % kTile == 0 ? atBorders : inside) += across / (x % kTile == 0 ? 7 : kSide - 8);
      (y % kTile == 0 ? atBorders : inside) += down / (y % kTile == 0 ? 7 : kSide - 8);
    }
  }
  EXPECT_LT(atBorders, 1.05 * inside);
  RecordProperty("borders", std::to_string(atBorders / inside));
}

}  // namespace
}  // namespace veskaro::test
