#include "platform/power.h"

#include <cmath>
#include <limits>

namespace veskaro::platform {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLn2 = 0x1.62e42fefa39efp-1;

// exp(t) - 1 - t, that is t^2 / 2! + t^3 / 3! + ..., for |t| up to half of ln 2.
double restOfExp(double t) {
  double sum = 0.0;
  for (int n = 14; n >= 2; --n) sum = (sum + 1.0) * (t / n);
  return sum * t;
}

// exp(f ln 2) for |f| up to a half. The product of the leading halves of f and ln 2 is exact, and so is what adding it
// to 1 leaves over: only the last sum rounds by more than a trifle.
double powerOfFraction(double f) {
  constexpr double kLn2High = 0x1.62e43p-1, kLn2Low = -0x1.05c610ca86c39p-29;
  const double fHigh = static_cast<double>(static_cast<float>(f));
  const double high = fHigh * kLn2High;
  const double low = fHigh * kLn2Low + (f - fHigh) * kLn2;
  const double sum = 1.0 + high;
  const double leftOver = high - (sum - 1.0);
  return sum + ((restOfExp(high + low) + low) + leftOver);
}

// With value = 2^k m and s = (m - 1) / (m + 1): k + 2 / ln 2 (s + s^3 / 3 + s^5 / 5 + ...).
double log2Of(double value) {
  constexpr double kSqrtHalf = 0x1.6a09e667f3bcdp-1;
  int k = 0;
  double m = std::frexp(value, &k);
  if (m < kSqrtHalf) m *= 2.0, --k;
  const double s = (m - 1.0) / (m + 1.0);
  double sum = 0.0;
  for (int n = 23; n >= 1; n -= 2) sum = sum * (s * s) + 1.0 / n;
  return 2.0 / kLn2 * (s * sum) + k;
}

}  // namespace

double powerOfTwo(double power) {
  constexpr double kFar = 1100.0;
  if (power != power) return power;
  if (!(power < kFar)) return kInfinity;
  if (power < -kFar) return 0.0;
  const double whole = std::nearbyint(power);
  return std::scalbn(powerOfFraction(power - whole), static_cast<int>(whole));
}

double powerOf(double base, double power) {
  if (power == 0.0) return 1.0;
  if (!(base >= 0.0)) return std::numeric_limits<double>::quiet_NaN();
  if (base == 0.0) return power < 0.0 ? kInfinity : 0.0;
  if (base == kInfinity) return power < 0.0 ? 0.0 : kInfinity;
  return powerOfTwo(power * log2Of(base));
}

}  // namespace veskaro::platform
