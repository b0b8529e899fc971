// Row-planar RGBE pictures for the tests, with encoding and decoding of their own, and calls of the stages on them.
#ifndef VESKARO_TESTS_RGBE_PICTURES_H
#define VESKARO_TESTS_RGBE_PICTURES_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "VeskaroNRLib.h"

namespace veskaro::test {

using Pixel = std::array<int, 4>;

struct Colour {
  double r, g, b;
  double sum() const { return r + g + b; }
};

inline Pixel encoded(const Colour& c) {
  int e;
  std::frexp(std::max({c.r, c.g, c.b}), &e);
  const auto mantissa = [e](double v) { return static_cast<int>(std::ldexp(v, 8 - e)); };
  return {mantissa(c.r), mantissa(c.g), mantissa(c.b), e + 128};
}
inline Pixel encoded(const Pixel& p) {
  return p;
}

struct RgbePicture {
  RgbePicture(int w, int h) : width(w), height(h), bytes(4 * static_cast<std::size_t>(w) * h) {}

  unsigned char* data() { return bytes.data(); }
  std::size_t index(int i, int j, int component) const {
    return 4 * static_cast<std::size_t>(width) * j + static_cast<std::size_t>(component) * width + i;
  }
  Pixel pixel(int i, int j) const {
    return {bytes[index(i, j, 0)], bytes[index(i, j, 1)], bytes[index(i, j, 2)], bytes[index(i, j, 3)]};
  }
  void setPixel(int i, int j, const Pixel& values) {
    for (int c = 0; c < 4; ++c) bytes[index(i, j, c)] = static_cast<unsigned char>(values[c]);
  }
  Colour value(int i, int j) const {
    const Pixel p = pixel(i, j);
    if (p[3] == 0) return {0, 0, 0};
    return {std::ldexp(p[0], p[3] - 136), std::ldexp(p[1], p[3] - 136), std::ldexp(p[2], p[3] - 136)};
  }

  int width, height;
  std::vector<unsigned char> bytes;
};

template <class PixelAt>  // (i, j) -> Colour or Pixel
RgbePicture makePicture(int width, int height, PixelAt&& pixelAt) {
  RgbePicture picture(width, height);
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) picture.setPixel(i, j, encoded(pixelAt(i, j)));
  }
  return picture;
}

// What the bytes of a random picture look like.
enum class Kind {
  kPhotograph,    // smooth light and colour over ten octaves, noise, a few black pixels
  kAnyBytes,      // every byte at random
  kNarrow,        // hardly any range
  kMostlyBlack,   // one pixel in three black
  kExtremeRange,  // runs of exponents at both ends, sums beyond the float range, and of the faintest visible light
  kNearlyFlat,    // one colour but for a few pixels
  kOneHue,        // one chromaticity: what is smoothed is what was there, but for the last bit
};
constexpr Kind kAllKinds[] = {Kind::kPhotograph,   Kind::kAnyBytes,   Kind::kNarrow, Kind::kMostlyBlack,
                              Kind::kExtremeRange, Kind::kNearlyFlat, Kind::kOneHue};

inline RgbePicture randomPicture(int width, int height, Kind kind, unsigned seed) {
  std::mt19937 random(seed);
  const auto between = [&random](int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  };
  const auto byte = [&between] { return between(0, 255); };
  const auto photographed = [&](int i, int j) -> Pixel {
    const double light = std::exp(3.5 * std::sin(i * 0.05 + seed) * std::cos(j * 0.03));
    const auto channel = [&](int c) {
      return light * (c == (i / 17 + j / 23) % 3 ? 1.0 : 0.4) * between(850, 1150) / 1000;
    };
    const Colour colour = {channel(0), channel(1), channel(2)};
    return between(0, 400) == 0 ? Pixel{byte(), byte(), byte(), 0} : encoded(colour);
  };
  return makePicture(width, height, [&](int i, int j) -> Pixel {
    switch (kind) {
      case Kind::kPhotograph:
        return photographed(i, j);
      case Kind::kNarrow:
        return {between(128, 255), between(128, 255), between(128, 255), between(126, 129)};
      case Kind::kMostlyBlack:
        return {byte(), byte(), byte(), between(0, 2) ? between(120, 140) : 0};
      case Kind::kExtremeRange:
        if ((i / 40 + j) % 2 == 0) return {between(0, 6), between(0, 6), between(0, 6), between(29, 33)};
        return {byte(), byte(), byte(), between(0, 1) ? between(0, 12) : between(240, 255)};
      case Kind::kNearlyFlat:
        return {200, 180, between(0, 9) ? 160 : byte(), between(0, 50) ? 128 : between(118, 138)};
      case Kind::kOneHue: {
        const int light = between(17, 36);
        return {7 * light, 5 * light, 3 * light, between(126, 129)};
      }
      default:
        return {byte(), byte(), byte(), byte()};
    }
  });
}

// What a call returns, and what it leaves in the picture and in the result.
struct Outcome {
  int code;
  RgbePicture picture, result;
  bool operator==(const Outcome& o) const {
    return code == o.code && picture.bytes == o.picture.bytes && result.bytes == o.result.bytes;
  }
};

// call(picture, work, result) on buffers at another alignment each time.
template <class Call>
Outcome callStage(const RgbePicture& picture, const Call& call) {
  static int calls = 0;
  const int offset = calls++ % 8;
  Outcome outcome = {0, picture, RgbePicture(picture.width, picture.height)};
  const std::size_t bytes = picture.bytes.size(), at = static_cast<std::size_t>(offset);
  std::vector<unsigned char> work(5 * bytes + 8), result(bytes + 8, 0x5a);
  outcome.code = call(outcome.picture.data(), work.data() + at, result.data() + at);
  std::copy_n(result.begin() + offset, bytes, outcome.result.bytes.begin());
  const bool isInside = std::all_of(result.begin() + static_cast<std::ptrdiff_t>(bytes) + offset, result.end(),
                                    [](unsigned char byte) { return byte == 0x5a; });
  return isInside ? outcome : Outcome{-1000, picture, picture};  // wrote past the result
}

inline Outcome callDenoise1(const RgbePicture& picture, int strength, int bits = 32, int rowStride = 0, int spp = 0) {
  Outcome outcome = {0, picture, picture};
  std::fill(outcome.result.bytes.begin(), outcome.result.bytes.end(), 0xEE);
  outcome.code = denoise1(strength, picture.width, picture.height, rowStride, spp, bits, outcome.picture.data(),
                          outcome.result.data());
  return outcome;
}

struct ChromaLevels {
  int strength;
  float threshold, shadows, saturation;
};

inline Outcome callChroma(const RgbePicture& picture, const ChromaLevels& l) {
  return callStage(picture, [&](unsigned char* in, unsigned char* work, unsigned char* out) {
    return denoise_chroma(l.strength, l.threshold, picture.width, picture.height, -1, 77, 32, l.shadows, l.saturation,
                          work, in, out);
  });
}

struct LuminanceLevels {
  int strength;
  float shadows, median, saturation, threshold;
};

inline Outcome callLuminance(const RgbePicture& picture, const LuminanceLevels& l) {
  return callStage(picture, [&](unsigned char* in, unsigned char* work, unsigned char* out) {
    return denoise_lumin(l.strength, picture.width, picture.height, -1, 77, 32, l.shadows, l.median, l.saturation,
                         l.threshold, work, in, out);
  });
}

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_RGBE_PICTURES_H
