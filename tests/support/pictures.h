// Pictures and float levels for the tests: random, structured, extreme, and a photograph.
#ifndef VESKARO_TESTS_SUPPORT_PICTURES_H
#define VESKARO_TESTS_SUPPORT_PICTURES_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace veskaro::test {

// w x h pixels of three interleaved samples.
struct Level {
  int w = 0;
  int h = 0;
  std::vector<float> samples;

  Level(int width, int height, float value = 0.0f)
      : w(width), h(height), samples(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3, value) {}
  float* at(int x, int y) { return samples.data() + (static_cast<std::ptrdiff_t>(y) * w + x) * 3; }
  const float* at(int x, int y) const { return samples.data() + (static_cast<std::ptrdiff_t>(y) * w + x) * 3; }
};

enum class Kind {
  kFlatNoise,  // one colour with faint noise: most neighbours resemble each other
  kScene,      // ramps, a hard edge, stripes and noise
  kWhole,      // few whole values, so that distances fall exactly on bounds and pixels repeat
  kSpread,     // magnitudes so far apart that the order of every sum shows
  kMantissas,  // every bit of the mantissa in use, from 2^-12 to 2^9; below the middle row a little farther
  kHostile,    // now and then infinities, not-a-number, huge, tiny and negative values
};

// Made from whole numbers, so that the values are the same on every machine.
Level makeLevel(int w, int h, Kind kind, unsigned seed);

// A picture for denoise2: rows of rowStride samples, those beyond 3 * width hold the given filling.
template <typename Sample>
struct Picture {
  int width = 0;
  int height = 0;
  int rowStride = 0;
  std::vector<Sample> samples;  // the last row ends with its last pixel

  Picture(int w, int h, int padding = 0, Sample filling = 0)
      : width(w),
        height(h),
        rowStride(3 * w + padding),
        samples(static_cast<std::size_t>(rowStride) * static_cast<std::size_t>(h) - static_cast<std::size_t>(padding),
                filling) {}
  Sample* row(int y) { return samples.data() + static_cast<std::ptrdiff_t>(y) * rowStride; }
  const Sample* row(int y) const { return samples.data() + static_cast<std::ptrdiff_t>(y) * rowStride; }
};

// The scene of makeLevel as a picture of the sample's full range.
template <typename Sample>
Picture<Sample> makePicture(int w, int h, unsigned seed, int padding = 0, Sample filling = 0) {
  Picture<Sample> picture(w, h, padding, filling);
  const Level scene = makeLevel(w, h, Kind::kScene, seed);
  constexpr float kScale = sizeof(Sample) == 1 ? 1.0f : 256.0f;
  constexpr float kMost = static_cast<Sample>(~Sample{0});
  for (int y = 0; y < h; ++y) {
    for (int k = 0; k < 3 * w; ++k) {
      const float v = scene.at(0, y)[k] * kScale;
      picture.row(y)[k] = static_cast<Sample>(v < 0.0f ? 0.0f : (v > kMost ? kMost : v));
    }
  }
  return picture;
}

// Reads a binary 8-bit PPM of the tests' own folder.
Picture<std::uint8_t> readPhotograph();

// The picture at either depth with Gaussian noise of the given deviation on the 8-bit scale.
template <typename Sample>
Picture<Sample> withNoise(const Picture<std::uint8_t>& clean, double deviation, unsigned seed) {
  Picture<Sample> noisy(clean.width, clean.height);
  std::mt19937 engine(seed);
  std::normal_distribution<double> noise(0.0, deviation);
  constexpr double kScale = sizeof(Sample) == 1 ? 1.0 : 257.0;
  constexpr double kMost = static_cast<Sample>(~Sample{0});
  for (std::size_t i = 0; i < clean.samples.size(); ++i) {
    const double v = (clean.samples[i] + noise(engine)) * kScale + 0.5;
    noisy.samples[i] = static_cast<Sample>(v < 0.0 ? 0.0 : (v > kMost ? kMost : v));
  }
  return noisy;
}

// Peak signal-to-noise ratio against the clean picture, in dB.
double psnr(const Picture<std::uint8_t>& clean, const std::vector<std::uint8_t>& samples);
double psnr(const Picture<std::uint8_t>& clean, const std::vector<std::uint16_t>& samples);

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_PICTURES_H
