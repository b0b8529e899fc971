#include "hdr/rgbe/rgbe.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "VeskaroNRLib.h"

namespace veskaro::hdr {
namespace {

std::array<int, 4> encoded(const Rgb& colour) {
  unsigned char bytes[4] = {9, 9, 9, 9};
  encode(colour, Picture{{1, 1}, bytes}.row(0), 0);
  return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

TEST(Rgbe, RowsHoldFourRunsOfBytes) {
  unsigned char bytes[4 * 10 * 2];
  const RgbeRow row = Picture{{10, 2}, bytes}.row(1);
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
  const Rgb colour = decode(ConstPicture{{1, 1}, black}.row(0), 0, table);
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
      const auto again = encoded(decode(ConstPicture{{1, 1}, bytes}.row(0), 0, table));
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

TEST(Ybr, WeighsTheChannels) {
  float white[3] = {1, 1, 1}, red[3] = {1, 0, 0}, green[3] = {0, 1, 0}, blue[3] = {0, 0, 1}, ybr[3];
  EXPECT_EQ(rgb2ybr(white, ybr), 1);
  EXPECT_FLOAT_EQ(ybr[0], 1.0f);
  EXPECT_EQ(ybr[1], static_cast<float>((0.5 - 0.1687) - 0.3313));
  rgb2ybr(red, ybr);
  EXPECT_EQ(ybr[0], 0.299f);
  EXPECT_EQ(ybr[1], -0.1687f);
  EXPECT_EQ(ybr[2], 0.5f);
  rgb2ybr(green, ybr);
  EXPECT_EQ(ybr[0], 0.587f);
  EXPECT_EQ(ybr[1], -0.3313f);
  EXPECT_EQ(ybr[2], -0.4187f);
  rgb2ybr(blue, ybr);
  EXPECT_EQ(ybr[0], 0.114f);
  EXPECT_EQ(ybr[1], 0.5f);
  EXPECT_EQ(ybr[2], -0.0813f);
}

TEST(Ybr, NoChannelComesBackBelowZero) {
  float ybr[3] = {0.1f, 0.0f, -0.2f}, rgb[3];
  EXPECT_EQ(ybr2rgb(ybr, rgb), 1);
  EXPECT_EQ(rgb[0], 0.0f);
  EXPECT_NEAR(rgb[1], 0.2428, 1e-4);
  EXPECT_EQ(rgb[2], 0.1f);
  float undefined[3] = {NAN, 0, 0};
  ybr2rgb(undefined, rgb);
  EXPECT_EQ(rgb[0], 0.0f);
}

}  // namespace
}  // namespace veskaro::hdr
