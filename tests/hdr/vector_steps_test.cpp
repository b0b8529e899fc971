// The steps of the vector forms on vectors of numbers, against the plain form.
#include <cstdint>
#include <cstring>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/vector_steps_test.cpp"
#include <hwy/foreach_target.h>

#include "hdr/luminance/log_exp_vectors-inl.h"
#include "hdr/luminance/quick_colour_vectors-inl.h"
#include "hdr/rgbe/ybr.h"
#include "hdr/rgbe/ybr_vectors-inl.h"

#ifndef VESKARO_TESTS_VECTOR_STEPS
#define VESKARO_TESTS_VECTOR_STEPS
namespace veskaro::hdr {

struct VectorSteps {
  // On count floats in place.
  void (*logs)(float* values, int count);
  void (*exponentials)(float* values, int count);
  void (*nearExponentials)(float* values, int count);
  // Writes the vectors of a row that are not in doubt and returns their pixels; the others keep what out held.
  int (*storeSettled)(const unsigned char* in, const float* logs, unsigned char* out, int width);
  // How many of the colours of all mantissas with this red come out unlike the plain form's.
  int (*ybrMismatches)(int red);
};

}  // namespace veskaro::hdr
#endif

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS
namespace {

template <class Step>
HWY_INLINE void replaceEach(float* values, int count, const Step& step) {
  for (int i = 0; i < count; i += lanes()) hn::StoreU(step(hn::LoadU(Floats(), values + i)), Floats(), values + i);
}
void logs(float* values, int count) {
  replaceEach(values, count, [](V v) HWY_ATTR { return logOf(v); });
}
void exponentials(float* values, int count) {
  replaceEach(values, count, [](V v) HWY_ATTR { return expOf(v); });
}
void nearExponentials(float* values, int count) {
  replaceEach(values, count, [](V v) HWY_ATTR { return nearlyExp(v); });
}

int storeSettled(const unsigned char* in, const float* logLumas, unsigned char* out, int width) {
  const ConstRgbeRow row = ConstPicture{{width, 1}, in}.row(0);
  std::vector<unsigned char> made(4 * static_cast<std::size_t>(width));
  const RgbeRow madeRow = Picture{{width, 1}, made.data()}.row(0);
  const auto nearly = [&](int i) HWY_ATTR {
    return nearlyWithLuminance(loadPixels(row, i), nearlyLuminance(hn::LoadU(Floats(), logLumas + i)));
  };
  int stored = 0;
  for (int i = 0; i < width; i += 2 * lanes()) {
    const NearlyPixels pixels[2] = {nearly(i), nearly(i + lanes())};
    storeTwo(pixels[0], pixels[1], madeRow, i);
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

int ybrMismatches(int red) {
  const Ints d;
  int mismatches = 0;
  float y[HWY_LANES(float)], cb[HWY_LANES(float)], cr[HWY_LANES(float)];
  for (int green = 0; green < 256; ++green) {
    for (int blue = 0; blue < 256; blue += lanes()) {
      const VectorPixels p = {hn::Set(d, red), hn::Set(d, green), hn::Iota(d, blue), hn::Set(d, 136)};
      hn::StoreU(luminance(mantissas(p)), Floats(), y);
      hn::StoreU(cbOf(widenMantissas(p)), Floats(), cb);
      hn::StoreU(crOf(widenMantissas(p)), Floats(), cr);
      for (int k = 0; k < lanes(); ++k) {
        const Ybr plain = toYbr({static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue + k)});
        if (y[k] != plain.y || cb[k] != plain.cb || cr[k] != plain.cr) ++mismatches;
      }
    }
  }
  return mismatches;
}

}  // namespace

const VectorSteps* vectorSteps() {
  static const VectorSteps steps = {logs, exponentials, nearExponentials, storeSettled, ybrMismatches};
  return &steps;
}
#else
const VectorSteps* vectorSteps() {
  return nullptr;
}
#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "hdr/luminance/luminance_forms.h"
#include "platform/log_exp.h"
#include "support/targets.h"

namespace veskaro::hdr {
namespace {

HWY_EXPORT(vectorSteps);

// Calls body(steps) on every target that has vectors.
template <class Body>
void forEachVectorTarget(const Body& body) {
  test::forEachTarget([&](const char*) {
    if (const VectorSteps* steps = HWY_DYNAMIC_DISPATCH(vectorSteps)()) body(*steps);
  });
}

// Calls check(input, output) for every step-th float from first to last, by their bits.
template <class Check>
void compare(void (*function)(float*, int), std::uint32_t first, std::uint32_t last, std::uint32_t step,
             const Check& check) {
  constexpr std::uint32_t kBlock = 1024;
  for (std::uint64_t start = first; start <= last; start += kBlock * std::uint64_t{step}) {
    float inputs[kBlock], outputs[kBlock];
    for (std::uint32_t i = 0; i < kBlock; ++i) {
      const auto bits = static_cast<std::uint32_t>(std::min<std::uint64_t>(start + i * std::uint64_t{step}, last));
      std::memcpy(&inputs[i], &bits, sizeof(float));
    }
    std::copy_n(inputs, kBlock, outputs);
    function(outputs, static_cast<int>(kBlock));
    for (std::uint32_t i = 0; i < kBlock; ++i) check(inputs[i], outputs[i]);
    if (testing::Test::HasFatalFailure()) return;
  }
}

// Every significand at an exponent on either side of 1 and far from it; then samples of all normal floats.
TEST(VectorSteps, LogarithmsAreThePlainOnes) {
  const auto check = [](float v, float log) { ASSERT_EQ(log, platform::logOf(v)) << "of " << v; };
  forEachVectorTarget([&](const VectorSteps& steps) {
    compare(steps.logs, 0x3f000000, 0x3fffffff, 1, check);
    compare(steps.logs, 0x4c000000, 0x4c7fffff, 1, check);
    compare(steps.logs, 0x00800000, 0x7f7fffff, 1009, check);
    float ones[16];
    std::fill_n(ones, 16, 1.0f);
    steps.logs(ones, 16);
    ASSERT_TRUE(ones[0] == 0.0f && !std::signbit(ones[0]));
  });
}

TEST(VectorSteps, ExponentialsAreThePlainOnes) {
  const auto check = [](float v, float exp) { ASSERT_EQ(exp, platform::expOf(v)) << "of " << v; };
  const auto checkNear = [](float v, float near) {
    const double exact = std::exp(static_cast<double>(v));
    ASSERT_LE(std::abs(near - exact), std::exp2(-22.5) * exact) << v;
  };
  forEachVectorTarget([&](const VectorSteps& steps) {
    for (std::uint32_t sign : {0u, 0x80000000u}) {
      compare(steps.exponentials, sign | 0x00000000, sign | 0x42a00000, 521, check);
      compare(steps.exponentials, sign | 0x40800000, sign | 0x40ffffff, 1, check);
      compare(steps.nearExponentials, sign | 0x00000000, sign | 0x42a00000, 331, checkNear);
    }
  });
}

TEST(VectorSteps, EveryMantissaGivesThePlainYbr) {
  forEachVectorTarget([](const VectorSteps& steps) {
    for (int red = 0; red < 256; ++red) ASSERT_EQ(steps.ybrMismatches(red), 0) << "red " << red;
  });
}

// A row of pixels, the logarithms of new luminances, and the bytes that the plain form makes of them.
struct RowOfColours {
  static constexpr int kWidth = 1024;

  RowOfColours(int round, float reach, std::mt19937* random) : in(4 * kWidth), plainBytes(4 * kWidth), logs(kWidth) {
    const bool isSaturated = round % 4 == 0, isGrey = round % 8 == 1;
    const int exponent = round % 16 == 1 ? 31 : 98;  // greys that fall about the end of what is visible, near and far
    const ConstRgbeRow row = ConstPicture{{kWidth, 1}, in.data()}.row(0);
    const auto below = [random](int end) { return static_cast<int>((*random)() % static_cast<unsigned>(end)); };
    for (int i = 0; i < kWidth; ++i) {
      for (int c = 0; c < 3; ++c) {
        const int mantissa = isGrey ? 128 : below(256);
        in[c * kWidth + i] = static_cast<unsigned char>(isSaturated && mantissa < 170 ? mantissa / 85 : mantissa);
      }
      in[3 * kWidth + i] = static_cast<unsigned char>(below(50) == 0 ? 0 : exponent + below(isGrey ? 6 : 60));
      logs[i] = logLuminance(decode(row, i, table)) + reach * (static_cast<float>(below(20001)) / 10000.0f - 1.0f);
      if (isGrey) logs[i] = -75.0f + static_cast<float>(i / 16 * 64 + below(64)) / 1000.0f;
      plain::writePixel(table, row, i, logs[i], Picture{{kWidth, 1}, plainBytes.data()}.row(0));
    }
  }

  const ExponentTable table;
  std::vector<unsigned char> in, plainBytes;
  std::vector<float> logs;
};

// New luminances from a thousandth of the old one to a thousand times it, and hardly moved ones that come out at whole
// numbers; all mantissas, normalized or not, saturated ones and black among them.
TEST(VectorSteps, QuickColoursAreThePlainOnes) {
  constexpr int kWidth = RowOfColours::kWidth;
  std::mt19937 random(7);
  long stored = 0, tried = 0;
  for (int round = 0; round < 400; ++round) {
    const float reach = std::exp2(static_cast<float>(random() % 24) - 20.0f);
    const RowOfColours row(round, reach, &random);
    forEachVectorTarget([&](const VectorSteps& steps) {
      std::vector<unsigned char> quick = row.plainBytes, settled(4 * kWidth, 0xEE);
      const int count = steps.storeSettled(row.in.data(), row.logs.data(), settled.data(), kWidth);
      steps.storeSettled(row.in.data(), row.logs.data(), quick.data(), kWidth);
      ASSERT_EQ(quick, row.plainBytes) << "round " << round << ", reach " << reach;
      ASSERT_EQ(count, kWidth - std::count(settled.begin() + 3 * kWidth, settled.end(), 0xEE)) << round;
      stored += reach > 0.1f ? count : 0;
      tried += reach > 0.1f ? kWidth : 0;
    });
  }
  EXPECT_GE(stored, tried / 2) << "hardly ever settled: the quick way is of no use";
}

}  // namespace
}  // namespace veskaro::hdr
#endif  // HWY_ONCE
