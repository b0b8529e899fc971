// The second measurement: what it reads of known noise, and that it is the same however a picture comes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "veskaronr.h"

namespace {

struct Samples {
  int width, height, channels;
  std::vector<float> values;

  vnr_picture picture(int encoding = VNR_DISPLAY) const {
    vnr_picture p = vnr_interleaved(VNR_FLOAT32, width, height, channels, values.data(), channels * width);
    p.encoding = encoding;
    return p;
  }
};

// A slope of brightness under noise of a deviation of 6 levels, smoothed over so many neighbours both ways.
Samples noisy(int width, int height, int channels, int smoothed) {
  Samples s = {width, height, channels, std::vector<float>(static_cast<std::size_t>(width * height * channels))};
  std::mt19937 random(1);
  std::normal_distribution<float> grain(0.0f, 6.0f);
  std::vector<float> noise(s.values.size() + static_cast<std::size_t>((width + 1) * channels * smoothed));
  for (float& n : noise) n = grain(random);
  for (std::size_t i = 0; i < s.values.size(); ++i) {
    float sum = 0.0f;
    for (int k = 0; k <= smoothed; ++k) {
      for (int j = 0; j <= smoothed; ++j) sum += noise[i + static_cast<std::size_t>((k * width + j) * channels)];
    }
    const float x = static_cast<float>(static_cast<int>(i) / channels % width);
    s.values[i] = (80.0f + 90.0f * x / static_cast<float>(width) + sum / static_cast<float>(smoothed + 1)) / 255.0f;
  }
  return s;
}

vnr_noise measured(const vnr_picture& picture) {
  vnr_noise noise = {};
  noise.struct_size = sizeof(noise);
  EXPECT_EQ(vnr_measure(&picture, nullptr, &noise), VNR_OK);
  return noise;
}

TEST(Haar, ReadsKnownNoise) {
  const vnr_noise white = measured(noisy(512, 512, 3, 0).picture());
  const vnr_noise smoothed = measured(noisy(512, 512, 3, 1).picture());
  const vnr_noise grey = measured(noisy(512, 512, 1, 0).picture());
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(white.sigma[k], 6.0f, 0.3f);
    EXPECT_NEAR(grey.sigma[k], 6.0f, 0.3f);
    EXPECT_NEAR(smoothed.sigma[k], 6.0f, 0.9f);
  }
  EXPECT_LT(white.correlation, 0.1f);
  EXPECT_GT(smoothed.correlation, 0.5f);
  EXPECT_LT(grey.chroma, 0.01f);
  EXPECT_EQ(grey.blotches + white.blotches, 0.0f);
  EXPECT_EQ(white.grain, VNR_GRAIN_MEASURED);
}

double meanPower(const float (&spectrum)[64]) {
  double sum = 0.0;
  for (const float power : spectrum) sum += static_cast<double>(power);
  return sum / 64.0;
}

// Of black: noise that is the same everywhere is stronger by what the model takes off mid grey. Where all blocks are
// alike, the smoothest read up to a quarter too little. Smoothed noise has the same power at other frequencies.
TEST(Spectrum, ReadsKnownNoise) {
  const double black = 0.87 * 36.0 / (0.85 * 0.85);
  const vnr_noise white = measured(noisy(512, 512, 3, 0).picture()), grey = measured(noisy(512, 512, 1, 0).picture()),
                  smoothed = measured(noisy(512, 512, 3, 1).picture());
  EXPECT_NEAR(meanPower(white.spectrum[0]) / black, 0.447, 0.06);
  EXPECT_NEAR(meanPower(white.spectrum[1]) / black, 1.22, 0.15);
  EXPECT_NEAR(meanPower(white.spectrum[2]) / black, 0.85, 0.1);
  EXPECT_NEAR(meanPower(smoothed.spectrum[0]) / black, 0.447, 0.09);
  EXPECT_NEAR(meanPower(grey.spectrum[0]) / black, 1.0, 0.12);
  EXPECT_LT(white.spectrum[0][9], 2.0f * white.spectrum[0][63]);
  EXPECT_GT(smoothed.spectrum[0][9], 100.0f * smoothed.spectrum[0][63]);
  for (const float power : grey.spectrum[1]) EXPECT_EQ(power, 0.0f);
}

// Grey texture everywhere but in the black corner, where pixels are clipped.
TEST(Haar, DarkBlocksTellTextureFromNoise) {
  Samples s = noisy(512, 512, 3, 0);
  const Samples grain = noisy(512, 512, 3, 1);
  for (std::size_t i = 0; i < s.values.size(); ++i) {
    const std::size_t x = i / 3 % 512, y = i / 3 / 512;
    const float slope = 80.0f + 90.0f * static_cast<float>(x) / 512.0f, noise = 0.5f * (s.values[i] * 255.0f - slope);
    const float texture = 8.0f * (grain.values[i - i % 3] * 255.0f - slope);
    const float value = x < 128 && y < 128 ? 6.0f + noise : 125.0f + texture + noise;
    s.values[i] = std::fmax(value, 0.0f) / 255.0f;
  }
  const vnr_noise noise = measured(s.picture());
  EXPECT_EQ(noise.grain, VNR_GRAIN_TEXTURED);
  EXPECT_NEAR(noise.luma, 2.0f, 1.0f);
  EXPECT_GT(noise.structure, 20.0f);
}

// So big that only a sample of the blocks counts, in strips and columns that cut them, on its way through bytes.
TEST(Haar, IsTheSameHoweverThePictureComes) {
  for (const int encoding : {VNR_DISPLAY, VNR_LINEAR}) {
    const Samples s = noisy(1100, 900, 3, 0);
    vnr_measurement *first = nullptr, *second = nullptr;
    ASSERT_EQ(vnr_measure_begin(s.width, s.height, &first), VNR_OK);
    ASSERT_EQ(vnr_measure_begin(s.width, s.height, &second), VNR_OK);
    for (int y = 0, strip = 0; y < s.height; y += 37, ++strip) {
      const int end = y + 41 < s.height ? y + 41 : s.height;
      for (const vnr_rectangle& r : {vnr_rectangle{509, 1100, y, end}, vnr_rectangle{0, 509, y, end}}) {
        const vnr_picture piece = vnr_piece(s.picture(encoding), r);
        ASSERT_EQ(vnr_measure_add(strip % 3 == 0 ? first : second, &piece, nullptr), VNR_OK);
      }
    }
    std::size_t size;
    ASSERT_EQ(vnr_measure_save(second, nullptr, 0, &size), VNR_OK);
    std::vector<unsigned char> bytes(size);
    ASSERT_EQ(vnr_measure_save(second, bytes.data(), size, &size), VNR_OK);
    vnr_measure_end(second);
    ASSERT_EQ(vnr_measure_load(bytes.data(), size, &second), VNR_OK);
    ASSERT_EQ(vnr_measure_merge(first, second), VNR_OK);
    vnr_noise merged = {}, whole = measured(s.picture(encoding));
    merged.struct_size = sizeof(merged);
    ASSERT_EQ(vnr_measure_finish(first, &merged), VNR_OK);
    EXPECT_EQ(std::memcmp(&merged, &whole, sizeof(whole)), 0);
    bytes.back() ^= 1;
    vnr_measurement* damaged = nullptr;
    EXPECT_EQ(vnr_measure_load(bytes.data(), size, &damaged), VNR_ERROR_STATE);
    vnr_measure_end(first);
    vnr_measure_end(second);
  }
}

TEST(Haar, LinearPicturesHaveNoScale) {
  Samples s = noisy(256, 256, 3, 0);
  const vnr_noise dark = measured(s.picture(VNR_LINEAR));
  for (float& v : s.values) v *= 4096.0f;
  const vnr_noise bright = measured(s.picture(VNR_LINEAR));
  EXPECT_EQ(bright.linear_scale, dark.linear_scale * 4096.0f);
  EXPECT_EQ(std::memcmp(bright.sigma, dark.sigma, sizeof(dark.sigma)), 0);
  EXPECT_EQ(bright.luma, dark.luma);
  EXPECT_GT(dark.luma, 0.0f);
}

TEST(BestSettings, WithoutNoiseNothingChanges) {
  const Samples s = noisy(40, 15, 3, 0);  // too small to measure
  const vnr_noise none = measured(s.picture());
  EXPECT_EQ(none.grain, VNR_GRAIN_UNKNOWN);
  vnr_settings settings = {};
  settings.struct_size = sizeof(settings);
  EXPECT_EQ(vnr_settings_best(&none, 0.59f, &settings), VNR_ERROR_SETTINGS);
  EXPECT_EQ(vnr_settings_best(&none, NAN, &settings), VNR_ERROR_SETTINGS);
  ASSERT_EQ(vnr_settings_best(&none, 1.5f, &settings), VNR_OK);
  std::vector<unsigned char> in(s.values.size()), out(in.size());
  for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<unsigned char>(s.values[i] * 255.0f);
  const vnr_picture from = vnr_interleaved(VNR_UINT8, s.width, s.height, 3, in.data(), 3 * s.width);
  const vnr_picture to = vnr_interleaved(VNR_UINT8, s.width, s.height, 3, out.data(), 3 * s.width);
  ASSERT_EQ(vnr_denoise(&from, &to, &settings, nullptr), VNR_OK);
  EXPECT_EQ(in, out);
}

}  // namespace
