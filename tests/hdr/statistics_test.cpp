#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "hdr/rgbe_pictures.h"
#include "support/injected_failures.h"
#include "support/targets.h"

namespace veskaro::test {
namespace {

constexpr float kUntouched = -77.0f;

struct Measured {
  int result;
  float values[6];
};

Measured measure(RgbePicture picture, float initialSeuil = 0.0013333334f) {
  Measured m;
  for (float& v : m.values) v = kUntouched;
  m.result = hdr_stats(0, picture.width, picture.height, -1, 99, 7, initialSeuil, picture.data(), m.values);
  return m;
}

TEST(Percentile, CountsPastTheShare) {
  int histo[] = {0, 1, 0, 98, 1};
  EXPECT_EQ(percentileD(0.0f, 100, 5, histo), 1);
  EXPECT_EQ(percentileD(0.01f, 100, 5, histo), 3) << "the second-lowest value: the sum must exceed 1";
  EXPECT_EQ(percentileD(0.99f, 100, 5, histo), 4);
  EXPECT_EQ(percentileD(1.0f, 100, 5, histo), 5) << "never exceeded";
  EXPECT_EQ(percentileD(0.5f, 100, 0, histo), 0);
  EXPECT_EQ(percentileD(0.5f, 100, -1, histo), 0);
  EXPECT_EQ(percentileD(-3.0f, 100, 5, histo), 1);
  EXPECT_EQ(percentileD(NAN, 100, 5, histo), 5);
  EXPECT_EQ(percentileD(INFINITY, 100, 5, histo), 5);
  EXPECT_EQ(percentileD(3e38f, SIZE_MAX, 5, histo), 5);
  int pair[] = {2147483647, 2147483647};
  EXPECT_EQ(percentileD(1.0f, 4000000000u, 2, pair), 1) << "the sum goes past an int";
}

TEST(Statistics, RefusesWhatHasNoSpread) {
  EXPECT_EQ(measure(RgbePicture(40, 40)).result, NR_ERROR_STATISTICS);
  EXPECT_EQ(measure(makePicture(40, 40, [](int, int) { return Colour{1, 2, 3}; })).result, NR_ERROR_STATISTICS);
  EXPECT_EQ(measure(RgbePicture(40, 0)).result, NR_ERROR_STATISTICS);
  EXPECT_EQ(measure(RgbePicture(0, 40)).result, NR_ERROR_STATISTICS);
  RgbePicture endless(40, 40);
  endless.setPixel(3, 3, {255, 255, 255, 255});
  const Measured m = measure(endless);
  EXPECT_EQ(m.result, NR_ERROR_STATISTICS) << "the sum of this pixel is beyond the float range";
  EXPECT_EQ(m.values[0], kUntouched);
  float values[6];
  EXPECT_EQ(hdr_stats(0, 64, 64, 0, 0, 32, 0.001f, nullptr, values), NR_ERROR_ARGUMENT);
}

// Without spread in both quantities. The vector form would otherwise take its tables first.
TEST(Statistics, FlatPicturesTakeNoMemory) {
  const RgbePicture flat = makePicture(256, 256, [](int, int) { return Pixel{128, 64, 64, 140}; });
  RgbePicture luminancesDiffer = flat, sumsDiffer = flat, spread = flat;
  luminancesDiffer.setPixel(255, 255, {128, 65, 63, 140});
  sumsDiffer.setPixel(255, 255, {12, 126, 49, 140});
  spread.setPixel(255, 255, {128, 64, 65, 140});
  forEachTarget([&](const char*) {
    const FailAllocation failure(0);
    for (const RgbePicture& picture : {flat, luminancesDiffer, sumsDiffer}) {
      EXPECT_EQ(measure(picture).result, NR_ERROR_STATISTICS);
    }
    EXPECT_FALSE(failure.happened());
    EXPECT_EQ(measure(spread).result, NR_ERROR_MEMORY);
  });
}

TEST(Statistics, UniformBelowOneHasItsOwnLevel) {
  const Measured m = measure(makePicture(33, 34, [](int, int) { return Pixel{64, 32, 32, 136 - 8}; }));  // sum 0.5
  EXPECT_EQ(m.result, NR_OK);
  EXPECT_EQ(m.values[0], std::log(0.5f));
  EXPECT_EQ(m.values[1], std::log(0.5f));
  EXPECT_EQ(m.values[5], 0.0f);
}

// 100 grey columns whose values are evenly spaced: the percentiles are read off directly, and known to the last bit.
// Each share ends exactly with a column, which has to be exceeded.
TEST(Statistics, EvenlySpacedGreys) {
  const auto grey = [](int i) { return std::ldexp(128.0f + static_cast<float>(i), -5); };
  const float threshold = 0.0013333334f;
  const Measured m = measure(makePicture(100, 50,
                                         [&](int i, int) {
                                           return Colour{grey(i), grey(i), grey(i)};
                                         }),
                             threshold);
  ASSERT_EQ(m.result, NR_OK);
  const auto logSum = [&](int i) { return std::log(3.0f * grey(i)); };
  const auto logLuminance = [&](int i) {
    const double v = grey(i);
    return std::log(static_cast<float>((0.587 * v + 0.299 * v) + 0.114 * v));
  };
  // The value of a column as its bin gives it back: 65535 steps on the way in, 65536 on the way out.
  const auto binned = [](const auto& logOf, int column) {
    const float low = logOf(0), range = logOf(99) - low;
    const auto bin = static_cast<int>((logOf(column) - low) * (65535.0f / range));
    return static_cast<float>(bin) * (range / 65536.0f) + low;
  };
  const float sum01 = binned(logSum, 1), sumMedian = binned(logSum, 50), sum99 = binned(logSum, 99);
  const float y01 = binned(logLuminance, 1), yMedian = binned(logLuminance, 50), y99 = binned(logLuminance, 99);
  EXPECT_EQ(m.values[0], static_cast<float>(sumMedian + 0.25 * static_cast<double>(sum01 - sumMedian)));
  EXPECT_EQ(m.values[1], static_cast<float>(sumMedian + 0.5 * static_cast<double>(sum99 - sumMedian)));
  EXPECT_EQ(m.values[2], (y01 + yMedian) * 0.5f);
  EXPECT_EQ(m.values[3], yMedian);
  EXPECT_EQ(m.values[4], y99);
  const double range = static_cast<double>(logLuminance(99)) - static_cast<double>(logLuminance(0));
  EXPECT_EQ(m.values[5], (y99 - yMedian) * static_cast<float>(2.0 * threshold * range));
}

// One percentile of black pixels is enough to bring the lowest percentile to 0, the log of 1.
TEST(Statistics, BlackCountsAsOne) {
  RgbePicture picture = makePicture(100, 100, [](int i, int) { return Colour{8.0 + i, 8.0 + i, 8.0 + i}; });
  for (int j = 0; j < 100; ++j) picture.setPixel(7, j, {200, 200, 200, 0});
  const Measured one = measure(picture);
  picture.setPixel(8, 0, {1, 2, 3, 0});
  const Measured more = measure(picture);
  EXPECT_GT(one.values[2], (std::log(8.0) + std::log(57.0)) / 2) << "the percentile must be exceeded, not reached";
  EXPECT_NEAR(more.values[2], std::log(57.0) / 2, 0.02);
}

}  // namespace
}  // namespace veskaro::test
