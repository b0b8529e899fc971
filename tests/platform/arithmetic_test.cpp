// Logarithm, exponential and power against the exact values, as far as the C library's doubles tell them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/log_exp.h"
#include "platform/power.h"

namespace veskaro::platform {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

float floatOf(std::uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// To 0.8 units in the last place, for some floats of every exponent in [first, last].
void expectNear(std::uint32_t first, std::uint32_t last, float (*function)(float), double (*exact)(double)) {
  for (std::uint32_t bits = first; bits <= last; bits += 100003) {
    const float v = floatOf(bits), result = function(v);
    const double wanted = exact(static_cast<double>(v));
    const double unit = std::ldexp(1.0, std::max(std::ilogb(wanted), -126) - 23);
    ASSERT_LE(std::abs(static_cast<double>(result) - wanted), 0.8 * unit) << "of " << v;
  }
}

TEST(Arithmetic, LogarithmAndExponentialAreNearlyExact) {
  expectNear(1, 0x7f7fffff, logOf, std::log);
  expectNear(0, 0x42b17218, expOf, std::exp);                        // up to the largest float
  expectNear(0x80000000, 0x80000000 | 0x42cff1b4, expOf, std::exp);  // down to half the least one
  EXPECT_EQ(logOf(kInf), kInf);
  EXPECT_EQ(expOf(kInf), kInf);
  EXPECT_EQ(expOf(89.0f), kInf);
  EXPECT_EQ(expOf(-kInf), 0.0f);
  EXPECT_EQ(expOf(-104.0f), 0.0f);
  EXPECT_TRUE(std::isnan(expOf(kNaN)));
}

TEST(Arithmetic, PowersAreNearlyExact) {
  for (double power = -1.0; power <= 1.0; power += 0x1p-9) {
    EXPECT_NEAR(powerOfTwo(power) / std::exp2(power), 1.0, 3e-16) << power;
    for (const double base : {1e-6, 0.3, 1.0, 55.0, 1e9}) {
      EXPECT_NEAR(powerOf(base, power) / std::pow(base, power), 1.0, 1e-14) << base << " to " << power;
    }
  }
  EXPECT_EQ(powerOfTwo(-1.0), 0.5);
  EXPECT_EQ(powerOfTwo(1023.0), 0x1p1023);
  EXPECT_EQ(powerOfTwo(2000.0), std::numeric_limits<double>::infinity());
  EXPECT_EQ(powerOfTwo(-2000.0), 0.0);
  const double values[] = {0.0, 1.0, 2.0, std::numeric_limits<double>::infinity(), -1.0, std::nan("")};
  for (const double base : values) {
    for (const double power : {-0.5, 0.0, 0.5}) {
      const double result = powerOf(base, power), wanted = std::pow(base, power);
      EXPECT_TRUE(result == wanted || std::abs(result / wanted - 1.0) < 1e-15 || (result != result && wanted != wanted))
          << base << " to " << power;
    }
  }
}

}  // namespace
}  // namespace veskaro::platform
