#include "hdr/rgbe/rgbe.h"

#include <gtest/gtest.h>

#include <cmath>

#include "hdr/rgbe_pictures.h"

namespace veskaro {
namespace {

using veskaro::test::RgbePicture;

std::array<int, 4> encoded(const Rgb& colour) {
  unsigned char bytes[4] = {9, 9, 9, 9};
  encode(colour, rowOf(bytes, 1, 0), 0);
  return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

TEST(Rgbe, RowsHoldFourRunsOfBytes) {
  unsigned char bytes[4 * 10 * 2];
  const RgbeRow row = rowOf(bytes, 10, 1);
  EXPECT_EQ(row.r + 2, bytes + 42);
  EXPECT_EQ(row.g + 2, bytes + 52);
  EXPECT_EQ(row.b + 2, bytes + 62);
  EXPECT_EQ(row.e + 2, bytes + 72);
}

TEST(Rgbe, DecodesByPowersOfTwo) {
  const ExponentTable table;
  EXPECT_EQ(table[136], 1.0f);
  for (int e = 0; e < 256; ++e) {
    ASSERT_EQ(table[static_cast<unsigned char>(e)], std::ldexp(1.0f, e - 136)) << e;  // subnormal up to 9
  }
  unsigned char black[4] = {200, 100, 50, 0};
  const Rgb colour = decode(rowOf<const unsigned char>(black, 1, 0), 0, table);
  EXPECT_EQ(colour.r, 0.0f);
  EXPECT_EQ(colour.g, 0.0f);
  EXPECT_EQ(colour.b, 0.0f);
}

TEST(Rgbe, RoundTripKeepsEveryNormalisedPixel) {
  const ExponentTable table;
  const int smallestExponent = 30;  // below, 128 * 2^(e - 136) may be at most 1e-32
  for (int e = smallestExponent; e < 256; ++e) {
    for (int m = 128; m < 256; ++m) {
      unsigned char bytes[4] = {static_cast<unsigned char>(m), static_cast<unsigned char>(m / 3), 0,
                                static_cast<unsigned char>(e)};
      const auto again = encoded(decode(rowOf<const unsigned char>(bytes, 1, 0), 0, table));
      ASSERT_EQ(again, (std::array<int, 4>{m, m / 3, 0, e})) << "exponent " << e;
    }
  }
}

TEST(Rgbe, EncodesTheEdges) {
  EXPECT_EQ(encoded({128, 64, 32}), (std::array<int, 4>{128, 64, 32, 136}));
  ASSERT_GT(1e-32f, 1e-32) << "the double 1e-32 lies between two floats";
  EXPECT_EQ(encoded({0, 1e-32f, 0}), (std::array<int, 4>{0, 207, 0, 22}));
  EXPECT_EQ(encoded({0, std::nextafter(1e-32f, 0.0f), 0}), (std::array<int, 4>{0, 0, 0, 0}));
  EXPECT_EQ(encoded({-1, -2, -3}), (std::array<int, 4>{0, 0, 0, 0}));
  // A negative channel truncates toward zero and keeps its low byte: -0.3 * 256 is -76.8.
  EXPECT_EQ(encoded({0.5f, -0.3f, 0.25f}), (std::array<int, 4>{128, 256 - 76, 64, 128}));
  // One that no int holds gives 0.
  EXPECT_EQ(encoded({1e-20f, -1e20f, 0}), (std::array<int, 4>{188, 0, 0, 62}));
  // The exponent byte wraps above 2^127.
  EXPECT_EQ(encoded({3e38f, 0, 0})[3], 0);
  EXPECT_FALSE(isEncodable({1, INFINITY, 1}));
  EXPECT_FALSE(isEncodable({1, 1, NAN}));
}

}  // namespace
}  // namespace veskaro
