#include <gtest/gtest.h>

#include <climits>
#include <numeric>
#include <random>
#include <vector>

#include "VeskaroNRLib.h"
#include "support/targets.h"

namespace {

TEST(SmoothLine, GivesFourTimesTheMean) {
  std::vector<float> ones(32, 1.0f), out(32);
  smooth_line(out.data(), ones.data(), 1, 32, 16);
  for (float v : out) EXPECT_EQ(v, 4.0f);

  std::vector<float> ramp(32);
  std::iota(ramp.begin(), ramp.end(), 0.0f);
  smooth_line(out.data(), ramp.data(), 1, 32, 1);
  EXPECT_EQ(out[0], 2.0f);
  EXPECT_EQ(out[10], 40.0f);
  EXPECT_EQ(out[31], 122.0f);
}

// Walks from the sample to the mirrored tap one step at a time, turning round at the ends.
int walk(int from, int steps, int size) {
  int at = from, direction = steps < 0 ? -1 : 1;
  for (int s = 0; s < std::abs(steps) && size > 1; ++s) {
    if (at + direction < 0 || at + direction >= size) direction = -direction;
    at += direction;
  }
  return at;
}

TEST(SmoothLine, MirrorsAsOftenAsItTakes) {
  std::mt19937 random(3);
  const auto check = [&random](int size, int sc, int step) {
    std::vector<float> line(static_cast<std::size_t>(size) * step), out(size + 1, -5.0f);
    for (float& v : line) v = static_cast<float>(random() % 100000) / 777.0f - 60.0f;
    smooth_line(out.data(), line.data(), step, size, sc);
    for (int i = 0; i < size; ++i) {
      const float x = line[i * step];
      const float pair = line[walk(i, sc, size) * step] + line[walk(i, -sc, size) * step];
      ASSERT_EQ(out[i], pair + (x + x)) << "size " << size << " sc " << sc << " step " << step << " at " << i;
    }
    ASSERT_EQ(out[size], -5.0f) << "wrote past the line";
  };
  veskaro::test::forEachTarget([&](const char*) {
    for (int size : {1, 2, 3, 5, 15, 16, 17, 31, 32, 33, 63, 64, 65, 130, 5003}) {
      for (int sc : {0, 1, 2, 3, 4, 8, 16, 40, 131, 300, -1, -7, -64}) {
        for (int step : {1, 2, 7}) check(size, sc, step);
      }
    }
  });
}

TEST(SmoothLine, TakesAnyArguments) {
  float line[4] = {1, 2, 3, 4}, out[4] = {7, 7, 7, 7};
  smooth_line(out, line, 1, 0, 1);
  smooth_line(out, line, 1, -3, 1);
  EXPECT_EQ(out[0], 7.0f);
  smooth_line(out, line, 1, 4, INT_MAX);
  smooth_line(out, line, 1, 4, INT_MIN);
  smooth_line(out, line + 3, -1, 4, 1);  // a line read backwards
  EXPECT_EQ(out[0], 3.0f + 3.0f + 8.0f);
  EXPECT_EQ(out[3], 2.0f + 2.0f + 2.0f);
}

}  // namespace
