#include "hdr/rgbe/ybr.h"

#include <gtest/gtest.h>

#include <cmath>

#include "VeskaroNRLib.h"

namespace {

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
