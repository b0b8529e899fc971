#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "VeskaroNRLib.h"

namespace veskaro::test {
namespace {

TEST(Ranking, IsStable) {
  std::mt19937 engine(1);
  for (const int count : {1, 2, 4, 100, 5000}) {
    std::vector<int> keys(static_cast<std::size_t>(count));
    for (int& key : keys) key = static_cast<int>(engine() % 50) - 25;
    keys[0] = INT32_MIN;  // a difference of keys would overflow
    std::vector<float> floats(keys.begin(), keys.end());
    std::vector<int> expected(keys.size());
    std::iota(expected.begin(), expected.end(), 0);
    std::stable_sort(expected.begin(), expected.end(), [&](int a, int b) {
      return keys[static_cast<std::size_t>(a)] < keys[static_cast<std::size_t>(b)];
    });
    std::vector<int> order(keys.size(), -1);
    EXPECT_EQ(iclassement2(count, keys.data(), order.data()), count);
    EXPECT_EQ(order, expected);
    std::fill(order.begin(), order.end(), -1);
    EXPECT_EQ(fClassementCroissant2(count, floats.data(), order.data()), static_cast<float>(count));
    EXPECT_EQ(order, expected);
  }
  EXPECT_EQ(iclassement2(0, nullptr, nullptr), 0);
  EXPECT_EQ(fClassementCroissant2(0, nullptr, nullptr), 0.0f);
}

TEST(Ranking, ComparisonsLookAtTheKeyOnly) {
  const int ints[3][2] = {{INT32_MIN, 9}, {5, 1}, {5, 0}};
  EXPECT_EQ(int_cmp(ints[0], ints[1]), -1);
  EXPECT_EQ(int_cmp(ints[1], ints[0]), 1);
  EXPECT_EQ(int_cmp(ints[1], ints[2]), 0);
  const float floats[3][2] = {{-1.5f, 9.0f}, {0.25f, 1.0f}, {NAN, 0.0f}};
  EXPECT_EQ(float_cmp(floats[0], floats[1]), -1);
  EXPECT_EQ(float_cmp(floats[1], floats[0]), 1);
  EXPECT_EQ(float_cmp(floats[2], floats[0]), 0);
  EXPECT_EQ(float_cmp(floats[0], floats[2]), 0);
}

}  // namespace
}  // namespace veskaro::test
