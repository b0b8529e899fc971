#include "pictures.h"

#include <vips/vips.h>

#include <cstring>
#include <random>

namespace veskaro::bench {
namespace {

std::vector<std::uint8_t> mirrored(const Size& size) {
  std::vector<std::uint8_t> samples;
  VipsImage* photo = vips_image_new_from_file(VESKARO_BENCH_PHOTOGRAPH, nullptr);
  VipsImage* big = nullptr;
  if (photo != nullptr && vips_image_get_bands(photo) == 3 &&
      vips_embed(photo, &big, 0, 0, size.width, size.height, "extend", VIPS_EXTEND_MIRROR, nullptr) == 0) {
    std::size_t bytes = 0;
    void* memory = vips_image_write_to_memory(big, &bytes);
    if (memory != nullptr) {
      const auto* first = static_cast<const std::uint8_t*>(memory);
      samples.assign(first, first + bytes);
      g_free(memory);
    }
    g_object_unref(big);
  }
  if (photo != nullptr) g_object_unref(photo);
  return samples;
}

void addNoise(std::vector<std::uint8_t>* samples) {
  std::mt19937 engine(1);
  std::normal_distribution<float> noise(0.0f, 20.0f);
  for (std::uint8_t& sample : *samples) {
    const float v = static_cast<float>(sample) + noise(engine) + 0.5f;
    sample = static_cast<std::uint8_t>(v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v));
  }
}

// The low-order bytes are no copies of the high ones, which would be a picture of 256 levels again.
std::vector<std::uint8_t> widened(const std::vector<std::uint8_t>& samples) {
  std::vector<std::uint8_t> wide(2 * samples.size());
  std::minstd_rand engine(1);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto sample = static_cast<std::uint16_t>(samples[i] << 8 | (engine() >> 8 & 255));
    std::memcpy(&wide[2 * i], &sample, sizeof sample);
  }
  return wide;
}

}  // namespace

const char* nameOf(Noise noise) {
  return noise == Noise::kLow ? "low" : "high";
}

std::vector<std::uint8_t> photograph(const Size& size, Noise noise, int bits) {
  std::vector<std::uint8_t> samples = mirrored(size);
  if (noise == Noise::kHigh) addNoise(&samples);
  return bits == 8 ? samples : widened(samples);
}

}  // namespace veskaro::bench
