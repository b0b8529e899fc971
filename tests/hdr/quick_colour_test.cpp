#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/quick_colour_test.cpp"
#include <hwy/foreach_target.h>

#include "hdr/luminance/quick_colour_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS
void nearExponentialsOf(float* values, int count) {
  for (int i = 0; i < count; i += lanes()) {
    hn::StoreU(nearlyExp(hn::LoadU(Floats(), values + i)), Floats(), values + i);
  }
}
// Writes the vectors of a row that are not in doubt and returns their pixels; the others keep what out held.
int storeSettled(const unsigned char* in, const float* logs, unsigned char* out, int width) {
  std::vector<unsigned char> made(4 * static_cast<std::size_t>(width));
  const auto nearly = [&](int i) HWY_ATTR {
    return nearlyWithLuminance(loadPixels(rowOf(in, width, 0), i), nearlyLuminance(hn::LoadU(Floats(), logs + i)));
  };
  int stored = 0;
  for (int i = 0; i < width; i += 2 * lanes()) {
    const NearlyPixels pixels[2] = {nearly(i), nearly(i + lanes())};
    storeTwo(pixels[0], pixels[1], rowOf(made.data(), width, 0), i);
    for (int k = 0; k < 2; ++k) {
      if (anyNegative(pixels[k].doubt)) continue;
      stored += lanes();
      for (int plane = 0; plane < 4; ++plane) {
        const int at = plane * width + i + k * lanes();
        std::memcpy(out + at, made.data() + at, lanes());
      }
    }
  }
  return stored;
}
#else
void nearExponentialsOf(float* values, int count) {
  for (int i = 0; i < count; ++i) values[i] = std::exp(values[i]);
}
int storeSettled(const unsigned char*, const float*, unsigned char*, int) {
  return -1;
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <gtest/gtest.h>

#include <random>

#include "hdr/luminance/luminance.h"
#include "support/targets.h"

namespace veskaro {
namespace {

HWY_EXPORT(nearExponentialsOf);
HWY_EXPORT(storeSettled);

TEST(QuickColour, ExponentialsAreAsNearAsTheyClaim) {
  test::forEachTarget([](const char*) {
    constexpr int kBlock = 1024;
    std::vector<float> x(kBlock), y(kBlock);
    for (std::uint32_t sign : {0u, 0x80000000u}) {
      for (std::uint32_t bits = 0; bits <= 0x42a00000u;) {
        for (int i = 0; i < kBlock; ++i, bits += 331) {
          const std::uint32_t all = sign | std::min(bits, 0x42a00000u);
          std::memcpy(&x[i], &all, sizeof(float));
        }
        y = x;
        HWY_DYNAMIC_DISPATCH(nearExponentialsOf)(y.data(), kBlock);
        for (int i = 0; i < kBlock; ++i) {
          const double exact = std::exp(static_cast<double>(x[i]));
          ASSERT_LE(std::abs(y[i] - exact), std::exp2(-22.5) * exact) << x[i];
        }
      }
    }
  });
}

// New luminances from a thousandth of the old one to a thousand times it, and hardly moved ones that come out at whole
// numbers; all mantissas, normalized or not, saturated ones and black among them.
TEST(QuickColour, WhatItWritesIsWhatThePlainFormWrites) {
  constexpr int kWidth = 1024;
  const ExponentTable table;
  std::mt19937 random(7);
  std::vector<unsigned char> in(4 * kWidth), plain(4 * kWidth), quick(4 * kWidth);
  std::vector<float> logs(kWidth);
  long stored = 0, tried = 0;
  for (int round = 0; round < 400; ++round) {
    const float reach = std::exp2(static_cast<float>(random() % 24) - 20.0f);
    const bool isSaturated = round % 4 == 0, isGrey = round % 8 == 1;
    const int exponent = round % 16 == 1 ? 31 : 98;  // greys that fall about the end of what is visible, near and far
    for (int i = 0; i < kWidth; ++i) {
      for (int c = 0; c < 3; ++c) {
        const int mantissa = isGrey ? 128 : static_cast<int>(random() % 256);
        in[c * kWidth + i] = static_cast<unsigned char>(isSaturated && mantissa < 170 ? mantissa / 85 : mantissa);
      }
      in[3 * kWidth + i] = static_cast<unsigned char>(
          random() % 50 == 0 ? 0 : exponent + static_cast<int>(random() % (isGrey ? 6 : 60)));
      const ConstRgbeRow row = rowOf<const unsigned char>(in.data(), kWidth, 0);
      logs[i] = logLuminance(decode(row, i, table)) + reach * (static_cast<float>(random() % 20001) / 10000.0f - 1.0f);
      if (isGrey) logs[i] = -75.0f + static_cast<float>(i / 16 * 64 + random() % 64) / 1000.0f;
      writePixel(table, row, i, logs[i], rowOf(plain.data(), kWidth, 0));
    }
    test::forEachTarget([&](const char*) {
      quick = plain;
      std::vector<unsigned char> untouched(4 * kWidth, 0xEE);
      const int count = HWY_DYNAMIC_DISPATCH(storeSettled)(in.data(), logs.data(), untouched.data(), kWidth);
      if (count < 0) return;
      HWY_DYNAMIC_DISPATCH(storeSettled)(in.data(), logs.data(), quick.data(), kWidth);
      ASSERT_EQ(quick, plain) << "round " << round << ", reach " << reach;
      ASSERT_EQ(count, kWidth - std::count(untouched.begin() + 3 * kWidth, untouched.end(), 0xEE)) << round;
      stored += reach > 0.1f ? count : 0;
      tried += reach > 0.1f ? kWidth : 0;
    });
  }
  EXPECT_GE(stored, tried / 2) << "hardly ever settled: the quick way is of no use";
}

}  // namespace
}  // namespace veskaro
#endif  // HWY_ONCE
