#include <cmath>
#include <cstdint>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/log_exp_test.cpp"
#include <hwy/foreach_target.h>

#include "hdr/luminance/log_exp_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS
void logsOf(float* values, int count) {
  for (int i = 0; i < count; i += lanes()) hn::StoreU(logOf(hn::LoadU(Floats(), values + i)), Floats(), values + i);
}
void exponentialsOf(float* values, int count) {
  for (int i = 0; i < count; i += lanes()) hn::StoreU(expOf(hn::LoadU(Floats(), values + i)), Floats(), values + i);
}
#else
void logsOf(float* values, int count) {
  for (int i = 0; i < count; ++i) values[i] = std::log(values[i]);
}
void exponentialsOf(float* values, int count) {
  for (int i = 0; i < count; ++i) values[i] = std::exp(values[i]);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <gtest/gtest.h>

#include "support/targets.h"

namespace veskaro {
namespace {

HWY_EXPORT(logsOf);
HWY_EXPORT(exponentialsOf);

constexpr std::uint32_t kBlock = 1024;

float floatOf(std::uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

// Every step-th float from first to last, by their bits.
template <class Vectors, class Platform>
void compare(std::uint32_t first, std::uint32_t last, std::uint32_t step, Vectors&& vectors, Platform&& platform) {
  for (std::uint64_t start = first; start <= last; start += kBlock * std::uint64_t{step}) {
    float values[kBlock], inputs[kBlock];
    for (std::uint32_t i = 0; i < kBlock; ++i) {
      inputs[i] = values[i] = floatOf(static_cast<std::uint32_t>(std::min<std::uint64_t>(start + i * step, last)));
    }
    vectors(values, static_cast<int>(kBlock));
    for (std::uint32_t i = 0; i < kBlock; ++i) ASSERT_EQ(values[i], platform(inputs[i])) << "of " << inputs[i];
  }
}

// Every significand at an exponent on either side of 1 and far from it; then samples of all normal floats.
TEST(LogExp, LogarithmsAreThePlatforms) {
  const auto platform = [](float v) { return std::log(v); };
  test::forEachTarget([&](const char*) {
    const auto vectors = [](float* v, int n) { HWY_DYNAMIC_DISPATCH(logsOf)(v, n); };
    compare(0x3f000000, 0x3fffffff, 1, vectors, platform);
    compare(0x4c000000, 0x4c7fffff, 1, vectors, platform);
    compare(0x00800000, 0x7f7fffff, 1009, vectors, platform);
    float one[16];
    std::fill_n(one, 16, 1.0f);
    vectors(one, 16);
    ASSERT_TRUE(one[0] == 0.0f && !std::signbit(one[0]));
  });
}

TEST(LogExp, ExponentialsAreThePlatforms) {
  const auto platform = [](float v) { return std::exp(v); };
  test::forEachTarget([&](const char*) {
    const auto vectors = [](float* v, int n) { HWY_DYNAMIC_DISPATCH(exponentialsOf)(v, n); };
    for (std::uint32_t sign : {0u, 0x80000000u}) {
      compare(sign | 0x00000000, sign | 0x42a00000, 521, vectors, platform);
      compare(sign | 0x40800000, sign | 0x40ffffff, 1, vectors, platform);
    }
  });
}

}  // namespace
}  // namespace veskaro
#endif  // HWY_ONCE
