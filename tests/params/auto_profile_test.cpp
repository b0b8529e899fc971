#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "VeskaroNRLib.h"
#include "support/digest.h"
#include "support/guarded.h"
#include "support/pictures.h"
#include "support/tuning.h"

namespace veskaro::test {
namespace {

// A 32 x 32 block of one brightness whose two measurements can be set apart.
struct Block {
  int brightness;
  int sparse = 1;      // difference that only the first, sparse measurement sees
  int dense = 0;       // difference that only the second sees, in one of its six lines
  bool clips = false;  // white next to what the sparse measurement looks at
};

// Blocks side by side, in a picture that ends against a page that cannot be read.
Guarded<unsigned char> pictureOf(const std::vector<Block>& blocks, int perRow, Against edge = Against::kEnd) {
  const int rows = static_cast<int>(blocks.size()) / perRow * 32;
  Picture<unsigned char> picture(perRow * 32, rows);
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < perRow * 32; ++x) {
      const Block& block = blocks[static_cast<std::size_t>(y / 32 * perRow + x / 32)];
      int v = block.brightness;
      if (x % 32 == 1 && y % 32 == 0) v += block.sparse;
      if (x % 32 == 7) v += block.dense;
      const bool isNeighbour = (x % 8 == 1 && y % 8 == 0) || (x % 8 == 0 && y % 8 == 1);
      if (block.clips && isNeighbour && (x % 32 != 1 || y % 32 != 0)) v = 255;
      for (int k = 0; k < 3; ++k) picture.row(y)[3 * x + k] = static_cast<unsigned char>(v);
    }
  }
  return Guarded<unsigned char>(picture.samples, edge);
}

struct Profile {
  int result;
  std::vector<float> params;
};

Profile profileOf(const std::vector<Block>& blocks, int perRow, float strength = 1.0f) {
  Guarded<unsigned char> picture = pictureOf(blocks, perRow);
  Guarded<unsigned char> scratch(48 * blocks.size() + 1280, Against::kEnd);
  std::vector<float> params = defaultParams({{NR_NOISE_LEVEL, strength}});
  const int height = static_cast<int>(blocks.size()) / perRow * 32;
  const int result = auto_profile(perRow * 32, height, perRow * 96, params.data(), scratch.data(), picture.data());
  return {result, params};
}

// The statistic of a block's second measurement.
double statistic(const Block& block) {
  return block.dense / 6.0 / (1.0 - 0.8 / 255.0 * block.brightness);
}

std::vector<Block> halves(const Block& shadow, const Block& highlight, int each) {
  std::vector<Block> blocks(static_cast<std::size_t>(each), shadow);
  blocks.insert(blocks.end(), static_cast<std::size_t>(each), highlight);
  return blocks;
}

void expectFailure(int code, const Profile& profile) {
  EXPECT_EQ(profile.result, code);
  EXPECT_EQ(profile.params, defaultParams({{NR_NOISE_LEVEL, 1.0f}}));
}

TEST(AutoProfile, RefusesPicturesWithoutUsableBlocks) {
  std::vector<float> params = defaultParams({{NR_NOISE_LEVEL, 1.0f}});
  std::vector<unsigned char> picture(31 * 1000 * 3, 90);
  std::vector<unsigned char> scratch(1280);
  expectFailure(-2, {auto_profile(31, 1000, 93, params.data(), scratch.data(), picture.data()), params});
  expectFailure(-2, {auto_profile(1000, 31, 3000, params.data(), scratch.data(), picture.data()), params});
  expectFailure(-2, profileOf({{90, 0}, {120, 0}, {30, 0}, {40, 0}}, 2));  // nothing differs
  expectFailure(-2, profileOf({{3}, {2}, {252}, {253}}, 2));               // nearly black, nearly white
  EXPECT_EQ(profileOf({{4}, {251}}, 2).result, 15);                        // both ends are usable
}

TEST(AutoProfile, NeedsShadowsAndHighlights) {
  expectFailure(-3, profileOf({{90}}, 1));
  expectFailure(-3, profileOf({{90}, {90}, {90}, {90}}, 2));
  expectFailure(-3, profileOf({{90}, {90}, {90}, {120}}, 2));  // the lowest average is the median
  EXPECT_EQ(profileOf({{90}, {90}, {120}, {120}}, 2).result, 15);
}

TEST(AutoProfile, WritesTheFourMeasuredEntries) {
  struct Case {
    int dense;
    float strength, noise, chroma, width;
  };
  // The statistic of the shadow block alone decides: the highlight differs more.
  const double slope = statistic({40, 1, 1});
  const auto level = [&](int dense) { return static_cast<float>(35.0 * slope * dense - 15.0); };
  for (const Case& c : std::vector<Case>{{0, 1.0f, 15.0f, -15.0f / 350 - 1.0f / 14, 75.0f},
                                         {4, 1.0f, 15.0f, -15.0f / 350 - 1.0f / 14, 75.0f},
                                         {4, 0.5f, 7.5f, -0.0928571f, 60.0f},
                                         {4, 1.5f, 30.0f, -30.0f / 350 - 1.0f / 14, 105.0f},
                                         {6, 1.0f, level(6), -level(6) / 350 - 1.0f / 14, 2 * level(6) + 45},
                                         {6, 1.25f, level(6) * 1.41421356f, -level(6) * 1.41421356f / 350 - 1.0f / 14,
                                          2 * level(6) * 1.41421356f + 45},
                                         {12, 1.0f, level(12), -level(12) / 350 - 1.0f / 14, 155.0f},
                                         {12, 0.4f, level(12), -level(12) / 350 - 1.0f / 14, 155.0f},
                                         {12, 1.6f, level(12), -level(12) / 350 - 1.0f / 14, 155.0f},
                                         {12, NAN, level(12), -level(12) / 350 - 1.0f / 14, 155.0f},
                                         {40, 1.0f, level(40), -0.5f, 155.0f}}) {
    SCOPED_TRACE(testing::Message() << "difference " << c.dense << ", strength " << c.strength);
    const Profile profile = profileOf(halves({40, 1, c.dense}, {120, 1, c.dense}, 4), 2, c.strength);
    EXPECT_EQ(profile.result, static_cast<int>(profile.params[NR_NOISE_LEVEL]));
    std::vector<float> expected = defaultParams({{NR_NOISE_LEVEL, c.noise},
                                                 {NR_CHROMA_KEEP, c.chroma},
                                                 {NR_HIGHLIGHT_START, 100.0f},
                                                 {NR_HIGHLIGHT_WIDTH, c.width}});
    for (std::size_t k = 0; k < expected.size(); ++k) {
      EXPECT_NEAR(profile.params[k], expected[k], 2e-6 * std::fabs(expected[k])) << "entry " << k;
    }
  }
}

TEST(AutoProfile, AveragesTheFourLowestOfThirtyTwoFromEachHalf) {
  std::vector<Block> blocks = halves({50, 1, 30}, {100, 1, 30}, 40);
  for (std::size_t i = 0; i < 80; ++i) blocks[i].sparse = 1 + static_cast<int>(i % 40) * 2;  // ranks by the sparse look
  std::swap(blocks[3], blocks[35]);
  for (const std::size_t half : {0, 40}) {
    blocks[half + 31].dense = 12;                         // the last candidate of its half
    blocks[half + 32].dense = 0;                          // one too many: its smoothness must not count
    blocks[half + 32].sparse = blocks[half + 31].sparse;  // though it ties with the last one
  }
  const double expected = (statistic({50, 1, 12}) + statistic({100, 1, 12}) + 2 * statistic({50, 1, 30})) / 4;
  EXPECT_NEAR(profileOf(blocks, 8).params[NR_NOISE_LEVEL], 35 * expected - 15, 1e-4);
}

TEST(AutoProfile, OneShadowBlockMakesTwoCandidates) {
  const std::vector<Block> blocks = {{100, 3, 18}, {100, 2, 12}, {50, 9, 24}, {100, 4, 18}};
  const double expected = (statistic({50, 9, 24}) + statistic({100, 2, 12})) / 2;
  EXPECT_NEAR(profileOf(blocks, 2).params[NR_NOISE_LEVEL], 35 * expected - 15, 1e-4);
}

TEST(AutoProfile, BrightBlocksRankByTheirNoiseNotTheirDifferences) {
  // The brightest differs least, but for its brightness that is more noise than the darker highlights show.
  const std::vector<Block> blocks = {{30, 5, 60}, {200, 4, 30}, {100, 6, 12}, {100, 7, 18}};
  const double expected = (statistic({30, 5, 60}) + statistic({100, 5, 12})) / 2;
  EXPECT_NEAR(profileOf(blocks, 2).params[NR_NOISE_LEVEL], 35 * expected - 15, 1e-4);
}

TEST(AutoProfile, DifferencesThatClippingHidesAreMadeUpFor) {
  const std::vector<Block> blocks = {{30, 5, 60}, {100, 5, 6, true}, {100, 6, 30}, {100, 9, 18}};
  const double expected = (statistic({30, 5, 60}) + statistic({100, 6, 30})) / 2;
  EXPECT_NEAR(profileOf(blocks, 2).params[NR_NOISE_LEVEL], 35 * expected - 15, 1e-4);
}

TEST(RecalcDeviations, CountsPairsWithinTheRange) {
  const auto measure = [](const Block& block, int rowStride = 96) {
    Guarded<unsigned char> picture = pictureOf({block}, 1);
    return recalcDeviations(32, 32, rowStride, 32, 0, picture.data());
  };
  EXPECT_EQ(measure({100, 50, 6}), 5766.0f);  // 6 in a sixth of the pairs
  EXPECT_EQ(measure({2, 0, 1}), 961.0f);
  EXPECT_EQ(measure({252, 0, 1}), 961.0f);
  EXPECT_TRUE(std::isnan(measure({1, 0, 0})));
  EXPECT_TRUE(std::isnan(measure({254, 0, 0})));
  // Column 7 clipped: its 32 horizontal and 3 vertical pairs of each channel do not count, and the rest is equal.
  EXPECT_EQ(measure({100, 0, 154}), 0.0f);
  // The smallest block: lines 0, 1, 2, with steps of 1 to the right and of 16 down.
  std::vector<unsigned char> small(4 * 12);
  for (int i = 0; i < 48; ++i)
    small[static_cast<std::size_t>(i)] = static_cast<unsigned char>(50 + i / 3 % 4 + i / 12 * 16);
  EXPECT_EQ(recalcDeviations(4, 4, 12, 4, 0, small.data()), 8.5f * 54.0f);
}

// Among few blocks with clipped samples the first, sparse measurement decides which are looked at closely. All
// four measured entries count, to the last bit.
TEST(AutoProfile, ChoosesAmongClippedBlocks) {
  constexpr int kWidth = 96, kHeight = 32;
  std::uint32_t state = 1;
  Digest digest;
  std::vector<unsigned char> picture(3 * kWidth * kHeight), work(48 * 3 + 1280);
  for (int round = 0; round < 300; ++round) {
    for (std::size_t k = 0; k < picture.size(); ++k) {
      state = state * 1664525u + 1013904223u;
      const std::uint32_t block = k / 3 % kWidth / 32 + 3 * static_cast<std::uint32_t>(round);
      const std::uint32_t noise = (state >> 16) % (2 + block * 7 % 11), chance = (state >> 8) % 100;
      picture[k] =
          static_cast<unsigned char>(chance < block * 13 % 40 ? 255 * (state >> 31) : 20 + block % 200 + noise);
    }
    float params[NR_PARAM_COUNT] = {1.0f};
    auto_profile(kWidth, kHeight, 3 * kWidth, params, work.data(), picture.data());
    digest.add(std::vector<float>(params, params + NR_PARAM_COUNT));
  }
  EXPECT_EQ(digest.text(), "05204fdf708d9d50");
}

}  // namespace
}  // namespace veskaro::test
