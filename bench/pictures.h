// What is denoised: the project's photograph, mirrored until it has the size asked for.
#ifndef VESKARO_BENCH_PICTURES_H
#define VESKARO_BENCH_PICTURES_H

#include <cstdint>
#include <string>
#include <vector>

namespace veskaro::bench {

struct Size {
  int width;
  int height;
  double megapixels() const { return 1e-6 * width * height; }
};

enum class Noise { kLow, kHigh };  // as the camera left it; with Gaussian noise of deviation 20 on top

const char* nameOf(Noise noise);

// Interleaved RGB samples of 8 or 16 bits, as bytes. Empty when the photograph cannot be read.
std::vector<std::uint8_t> photograph(const Size& size, Noise noise, int bits);

}  // namespace veskaro::bench

#endif  // VESKARO_BENCH_PICTURES_H
