#include "platform/log_exp.h"

#include <cstring>
#include <limits>

#include "platform/log_exp_constants.h"

namespace veskaro::platform {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

template <class To, class From>
To bitCast(From value) {
  static_assert(sizeof(To) == sizeof(From));
  To to;
  std::memcpy(&to, &value, sizeof(to));
  return to;
}

template <int kSize>
double entryOf(const DoubleTable<kSize>& table, std::uint32_t index) {
  return bitCast<double>(std::uint64_t{table.high[index]} << 32 | table.low[index]);
}

// Of a positive normal float's bits, less a power of two's worth of steps in the exponent.
float logOfNormal(std::uint32_t bits, int exponentsLess) {
  const std::uint32_t past = bits - LogConstants::kFirst;
  const std::uint32_t interval = past >> 19 & (LogConstants::kIntervals - 1);
  const std::uint32_t exponent = past & 0xff800000u;
  const double k = static_cast<double>(static_cast<std::int32_t>(exponent) / (1 << 23) - exponentsLess);
  const double z = static_cast<double>(bitCast<float>(bits - exponent));
  const double r = z * entryOf(LogConstants::kInverse, interval) - 1.0;
  const double r2 = r * r;
  const double head = k * LogConstants::kLn2 + entryOf(LogConstants::kLogarithm, interval);
  const double low = LogConstants::kPoly[1] * r + LogConstants::kPoly[2];
  const double poly = LogConstants::kPoly[0] * r2 + low;
  return static_cast<float>(poly * r2 + (head + r));
}

// Within the range of doubles.
float expOfModerate(double x) {
  const double shifted = x * ExpConstants::kStepsPerLn2 + ExpConstants::kShift;
  const double steps = shifted - ExpConstants::kShift;
  const auto k = bitCast<std::uint64_t>(shifted);
  const double entry = entryOf(ExpConstants::kPowers, static_cast<std::uint32_t>(k % ExpConstants::kSteps));
  const double power = bitCast<double>(bitCast<std::uint64_t>(entry) + (k << 47));
  const double r = (x * ExpConstants::kLeading - steps) + x * ExpConstants::kTrailing;
  const double high = ExpConstants::kPoly[0] * r + ExpConstants::kPoly[1];
  const double low = ExpConstants::kPoly[2] * r + 1.0;
  return static_cast<float>((high * (r * r) + low) * power);
}

}  // namespace

float logOf(float value) {
  constexpr int kSubnormalBits = 23;
  if (value == kInfinity) return kInfinity;
  if (value >= std::numeric_limits<float>::min()) return logOfNormal(bitCast<std::uint32_t>(value), 0);
  return logOfNormal(bitCast<std::uint32_t>(value * (1 << kSubnormalBits)), kSubnormalBits);
}

float expOf(float power) {
  constexpr float kOverflowAbove = 0x1.62e42ep6f, kNothingBelow = -0x1.9fe368p6f;
  if (power != power) return power;
  if (power > kOverflowAbove) return kInfinity;
  return power < kNothingBelow ? 0.0f : expOfModerate(static_cast<double>(power));
}

}  // namespace veskaro::platform
