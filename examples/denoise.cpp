// The library from C++: a class for a picture, results checked, no hand-written release of memory. 16 bits a sample.
#include <VeskaroNRLib.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "noisy_picture.h"

namespace {

struct Picture {
  Picture(int w, int h) : width(w), height(h), samples(static_cast<std::size_t>(w) * h * 3) {}
  unsigned char* bytes() { return reinterpret_cast<unsigned char*>(samples.data()); }

  int width, height;
  std::vector<std::uint16_t> samples;
};

Picture denoised(Picture& picture, float strength) {
  Picture result(picture.width, picture.height);
  std::vector<float> params(NR_PARAM_COUNT);
  nr_def(params.data());
  params[NR_NOISE_LEVEL] = strength;
  const int threads = static_cast<int>(std::thread::hardware_concurrency());
  const int code = denoise2(picture.width, picture.height, 3, 3 * picture.width, 16, 256, threads > 0 ? threads : 1,
                            params.data(), nullptr, picture.bytes(), result.bytes());
  if (code < 0) throw std::runtime_error("denoise2 failed with code " + std::to_string(code));
  return result;
}

double noise(const Picture& picture) {
  std::vector<unsigned char> high(picture.samples.size());
  for (std::size_t i = 0; i < high.size(); ++i) high[i] = static_cast<unsigned char>(picture.samples[i] >> 8);
  return noise_left(high.data(), picture.width, picture.height, 3 * static_cast<std::size_t>(picture.width));
}

}  // namespace

int main() try {
  Picture picture(640, 480);
  std::vector<unsigned char> eight(picture.samples.size());
  make_noisy(eight.data(), picture.width, picture.height, 3 * static_cast<std::size_t>(picture.width));
  for (std::size_t i = 0; i < eight.size(); ++i) picture.samples[i] = static_cast<std::uint16_t>(eight[i] * 256);

  const Picture result = denoised(picture, 1.2f);
  std::printf("noise %.2f before, %.2f after\n", noise(picture), noise(result));
  return noise(result) < 0.8 * noise(picture) ? 0 : 1;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "%s\n", failure.what());
  return 1;
}
