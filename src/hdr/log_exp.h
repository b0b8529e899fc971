// Constants of the single-precision logarithm and exponential in double arithmetic, as published with the Arm Optimized
// Routines (MIT licence) and used by the C libraries of today: with them the vector forms give the very floats that the
// platform's logf and expf give.
#ifndef VESKARO_HDR_LOG_EXP_H
#define VESKARO_HDR_LOG_EXP_H

#include <cstdint>

namespace veskaro {

// A table of doubles as two tables of words, which is how vectors look them up.
template <int kSize>
struct DoubleTable {
  alignas(64) std::uint32_t low[kSize];
  alignas(64) std::uint32_t high[kSize];
};

// log(x) = k ln 2 + log(c) + log1p(z / c - 1), where x = 2^k z and c is near the middle of the sixteenth of z's range
// [0x3f330000, 2 * 0x3f330000) that z lies in. Entry i holds 1 / c and log c of the sixteenth i.
struct LogConstants {
  static constexpr int kIntervals = 16;
  static constexpr std::uint32_t kFirst = 0x3f330000;  // bits of the smallest z
  static constexpr double kLn2 = 0x1.62e42fefa39efp-1;
  static constexpr double kPoly[3] = {-0x1.00ea348b88334p-2, 0x1.5575b0be00b6ap-2, -0x1.ffffef20a4123p-2};
  static const DoubleTable<kIntervals>& inverse();
  static const DoubleTable<kIntervals>& logarithm();
};

// exp(x) = 2^(k / 32) 2^(r / 32), where 32 x / ln 2 = k + r. Entry i of the table is the bits of 2^(i / 32), less i in
// the place where k is added to make the exponent.
struct ExpConstants {
  static constexpr int kSteps = 32;
  static constexpr double kStepsPerLn2 = 0x1.71547652b82fep+0 * kSteps;
  static constexpr double kShift = 0x1.8p+52;  // adding it rounds to an integer, which the low bits then hold
  static constexpr double kPoly[3] = {0x1.c6af84b912394p-5 / kSteps / kSteps / kSteps,
                                      0x1.ebfce50fac4f3p-3 / kSteps / kSteps, 0x1.62e42ff0c52d6p-1 / kSteps};
  static const DoubleTable<kSteps>& powers();
};

}  // namespace veskaro

#endif  // VESKARO_HDR_LOG_EXP_H
