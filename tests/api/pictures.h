// Pictures of any sample type for the second interface, without gaps.
#ifndef VESKARO_TESTS_API_PICTURES_H
#define VESKARO_TESTS_API_PICTURES_H

#include <gtest/gtest.h>
#include <veskaronr.h>

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
