// Constants of the single-precision logarithm and exponential in double arithmetic, as published with the Arm Optimized
// Routines (MIT licence): what the plain form (log_exp.cpp) and the vectors calculate with.
#ifndef VESKARO_PLATFORM_LOG_EXP_CONSTANTS_H
#define VESKARO_PLATFORM_LOG_EXP_CONSTANTS_H

#include <cstdint>

namespace veskaro::platform {

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
  static constexpr DoubleTable<kIntervals> kInverse = {
      {0x79f8f3beu, 0x4aaf883du, 0xf0f010b0u, 0xb0b80385u, 0x0c8864a5u, 0x7b0b8ea0u, 0x4a1a343fu, 0xf08ae5bau,
       0x419900a7u, 0x00000000u, 0xfd9a47acu, 0x1f026aa0u, 0x576afce6u, 0x63a1aa2du, 0x037841edu, 0xf5534862u},
      {0x3ff661ecu, 0x3ff571edu, 0x3ff49539u, 0x3ff3c995u, 0x3ff30d19u, 0x3ff25e22u, 0x3ff1bb4au, 0x3ff12358u,
       0x3ff0953fu, 0x3ff00000u, 0x3fee608cu, 0x3feca4b3u, 0x3feb2036u, 0x3fe9c2d1u, 0x3fe886e6u, 0x3fe767dcu}};
  static constexpr DoubleTable<kIntervals> kLogarithm = {
      {0x808caadeu, 0xa7c06ddbu, 0x7f513a67u, 0xa68224e9u, 0x0ac07758u, 0xc79c8100u, 0xce8c0e5eu, 0x5a611cccu,
       0x38e10c1eu, 0x00000000u, 0x5df25984u, 0xaa362eb4u, 0x7720db08u, 0x0d224770u, 0xc8a07ee1u, 0x57b6ee09u},
      {0xbfd57bf7u, 0xbfd2bef0u, 0xbfd01eaeu, 0xbfcb31d8u, 0xbfc6574fu, 0xbfc1aa2bu, 0xbfba4e76u, 0xbfb1973cu,
       0xbfa252f4u, 0x00000000u, 0x3faaa5aau, 0x3fbc5e53u, 0x3fc526e5u, 0x3fcbc286u, 0x3fd1058bu, 0x3fd40430u}};
};

// exp(x) = 2^(k / 32) 2^(r / 32), where 32 x / ln 2 = k + r. Entry i of the table is the bits of 2^(i / 32), less i in
// the place where k is added to make the exponent.
struct ExpConstants {
  static constexpr int kSteps = 32;
  static constexpr double kStepsPerLn2 = 0x1.71547652b82fep+0 * kSteps;
  static constexpr double kLeading = 0x1.715476p+0 * kSteps;  // the first 27 bits of the factor: exact times a float
  static constexpr double kTrailing = kStepsPerLn2 - kLeading;
  static constexpr double kShift = 0x1.8p+52;  // adding it rounds to an integer, which the low bits then hold
  static constexpr double kPoly[3] = {0x1.c6af84b912394p-5 / kSteps / kSteps / kSteps,
                                      0x1.ebfce50fac4f3p-3 / kSteps / kSteps, 0x1.62e42ff0c52d6p-1 / kSteps};
  static constexpr DoubleTable<kSteps> kPowers = {
      {0x00000000u, 0xd3158574u, 0x6cf9890fu, 0xd0125b51u, 0x3c7d517bu, 0x3168b9aau, 0x6e756238u, 0xf51fdee1u,
       0x0a31b715u, 0x373aa9cbu, 0x4c123422u, 0x6061892du, 0xd5362a27u, 0x569d4f82u, 0xdd485429u, 0xb03a5585u,
       0x667f3bcdu, 0xe8ec5f74u, 0x73eb0187u, 0x994cce13u, 0x422aa0dbu, 0xb0cdc5e5u, 0x82a3f090u, 0xb23e255du,
       0x995ad3adu, 0xf2fb5e47u, 0xdd85529cu, 0xdcef9069u, 0xdcfba487u, 0x337b9b5fu, 0xa2a490dau, 0x5b6e4540u},
      {0x3ff00000u, 0x3fefd9b0u, 0x3fefb558u, 0x3fef9301u, 0x3fef72b8u, 0x3fef5487u, 0x3fef387au, 0x3fef1e9du,
       0x3fef06feu, 0x3feef1a7u, 0x3feedea6u, 0x3feece08u, 0x3feebfdau, 0x3feeb42bu, 0x3feeab07u, 0x3feea47eu,
       0x3feea09eu, 0x3fee9f75u, 0x3feea114u, 0x3feea589u, 0x3feeace5u, 0x3feeb737u, 0x3feec491u, 0x3feed503u,
       0x3feee89fu, 0x3feeff76u, 0x3fef199bu, 0x3fef3720u, 0x3fef5818u, 0x3fef7c97u, 0x3fefa4afu, 0x3fefd076u}};
};

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_LOG_EXP_CONSTANTS_H
