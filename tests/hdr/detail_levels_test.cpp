#include "hdr/detail/detail_levels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace veskaro::hdr {
namespace {

TEST(DetailLevels, Coefficients) {
  for (int level = 0; level < kDetailLevels; ++level) {
    const double exact = 0.8002 * std::exp(2.6 - 2.6 * std::sqrt(level + 1.0));
    EXPECT_FLOAT_EQ(noiseCoefficient(level), static_cast<float>(exact));
  }
}

TEST(DetailLevels, SoftThreshold) {
  EXPECT_EQ(softThreshold(3, 1), 2);
  EXPECT_EQ(softThreshold(-3, 1), -2);
  EXPECT_EQ(softThreshold(1, 1), 0);
  EXPECT_EQ(softThreshold(-1, 1), 0);
  EXPECT_EQ(softThreshold(0.25f, 0), 0.25f);
  // Below 0 every detail grows; at 0 and at -threshold the first test decides.
  EXPECT_EQ(softThreshold(0, -1), -1);
  EXPECT_EQ(softThreshold(0.5f, -1), -0.5f);
  EXPECT_EQ(softThreshold(1, -1), 2);
  EXPECT_EQ(softThreshold(-3, -1), -4);
}

std::vector<float> shrunk(PictureSize size, std::vector<float> plane, float threshold) {
  const std::size_t n = size.pixels();
  std::vector<float> levels(2 * n), line(std::max(size.width, size.height));
  shrinkDetails({size, plane.data(), {levels.data(), levels.data() + n}, line.data()},
                [threshold](int) { return [threshold](float) { return threshold; }; });
  return plane;
}

TEST(DetailLevels, PutsBackWhatItTakes) {
  const PictureSize size = {40, 35};
  std::vector<float> plane(size.pixels());
  for (std::size_t k = 0; k < plane.size(); ++k) plane[k] = static_cast<float>(k * 7919 % 1000) / 1000;
  const std::vector<float> kept = shrunk(size, plane, 0.0f), smooth = shrunk(size, plane, 1e9f);
  const auto range = [](const std::vector<float>& v) {
    const auto [low, high] = std::minmax_element(v.begin(), v.end());
    return *high - *low;
  };
  for (std::size_t k = 0; k < plane.size(); ++k) ASSERT_NEAR(kept[k], plane[k], 1e-6);
  EXPECT_LT(range(smooth), 0.05f);

  const std::vector<float> flat(size.pixels(), 0.3f);
  EXPECT_EQ(shrunk(size, flat, 0.1f), flat);
}

// One bright sample reaches 31 samples and no further: 1 + 2 + 4 + 8 + 16.
TEST(DetailLevels, ReachesThirtyOneSamples) {
  const PictureSize size = {99, 80};
  std::vector<float> plane(size.pixels());
  plane[40 * 99 + 49] = 1.0f;
  const std::vector<float> spread = shrunk(size, plane, 1e9f);
  for (int j = 0; j < size.height; ++j) {
    for (int i = 0; i < size.width; ++i) {
      const bool inside = std::abs(i - 49) <= 31 && std::abs(j - 40) <= 31;
      ASSERT_EQ(spread[j * 99 + i] > 0, inside) << i << ", " << j;
      ASSERT_EQ(spread[j * 99 + i], spread[j * 99 + 98 - i]);
    }
  }
}

}  // namespace
}  // namespace veskaro::hdr
