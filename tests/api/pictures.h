// Pictures of any sample type for the second interface, without gaps.
#ifndef VESKARO_TESTS_API_PICTURES_H
#define VESKARO_TESTS_API_PICTURES_H

#include <gtest/gtest.h>
#include <veskaronr.h>

#include <random>
#include <type_traits>
#include <vector>

#include "support/pictures.h"

namespace veskaro::test {

template <typename Sample>
vnr_picture viewOf(const std::vector<Sample>& samples, int width, int height, float white = 0.0f) {
  constexpr int kType = std::is_floating_point_v<Sample> ? VNR_FLOAT32 : sizeof(Sample) == 1 ? VNR_UINT8 : VNR_UINT16;
  vnr_picture p = vnr_interleaved(kType, width, height, 3, samples.data(), 3 * width);
  p.white = white;
  return p;
}

// The scene of makePicture in the type, on the scale of 255.
template <typename Sample>
std::vector<Sample> sceneOf(int width, int height, unsigned seed) {
  const auto scene = makePicture<std::uint8_t>(width, height, seed).samples;
  return {scene.begin(), scene.end()};
}

inline vnr_noise noiseOf(const vnr_picture& picture) {
  vnr_noise noise;
  noise.struct_size = sizeof noise;
  EXPECT_EQ(vnr_measure(&picture, nullptr, &noise), VNR_OK);
  return noise;
}

inline vnr_settings classicFor(const vnr_noise& noise, float strength, int tile, int rounding = VNR_ROUND_AUTO) {
  vnr_settings settings;
  settings.struct_size = sizeof settings;
  EXPECT_EQ(vnr_settings_classic(&noise, strength, &settings), VNR_OK);
  settings.tile = tile;
  settings.rounding = rounding;
  return settings;
}

// The same with stages beyond denoise2's filters, strong enough to show in every byte; by the seed some are off.
inline vnr_settings withStages(vnr_settings settings, unsigned seed) {
  std::mt19937 random(seed);
  const auto upTo = [&random](float most) {
    return random() % 4 == 0 ? 0.0f : most * static_cast<float>(random() % 1000 + 1) / 1000.0f;
  };
  settings.patch = upTo(1.0f);
  settings.dots_luma = upTo(30.0f);
  settings.dots_chroma = upTo(30.0f);
  settings.shrink_luma = upTo(1.5f);
  settings.shrink_chroma = upTo(1.5f);
  for (int k = 0; k < 8; ++k) settings.residual_luma[k] = upTo(1.0f), settings.residual_chroma[k] = upTo(1.1f);
  for (auto& channel : settings.spectrum) {
    for (float& power : channel) power = upTo(400.0f);
  }
  return settings;
}

// The whole of a picture like the one given.
template <typename Sample>
std::vector<Sample> filtered(const std::vector<Sample>& samples, vnr_picture in, const vnr_settings& settings,
                             const vnr_control* control = nullptr) {
  std::vector<Sample> result(samples.size());
  vnr_picture out = viewOf(result, in.width, in.height, in.white);
  out.encoding = in.encoding;
  EXPECT_EQ(vnr_denoise(&in, &out, &settings, control), VNR_OK);
  return result;
}

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_API_PICTURES_H
