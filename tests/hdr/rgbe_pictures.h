// Row-planar RGBE pictures for the tests, with encoding and decoding of their own.
#ifndef VESKARO_TESTS_RGBE_PICTURES_H
#define VESKARO_TESTS_RGBE_PICTURES_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace veskaro::test {

struct Colour {
  double r, g, b;
  double sum() const { return r + g + b; }
};

struct RgbePicture {
  RgbePicture(int w, int h) : width(w), height(h), bytes(4 * static_cast<std::size_t>(w) * h) {}

  unsigned char* data() { return bytes.data(); }
  std::size_t index(int i, int j, int component) const {
    return 4 * static_cast<std::size_t>(width) * j + static_cast<std::size_t>(component) * width + i;
  }
  std::array<int, 4> pixel(int i, int j) const {
    return {bytes[index(i, j, 0)], bytes[index(i, j, 1)], bytes[index(i, j, 2)], bytes[index(i, j, 3)]};
  }
  void setPixel(int i, int j, std::array<int, 4> values) {
    for (int c = 0; c < 4; ++c) bytes[index(i, j, c)] = static_cast<unsigned char>(values[c]);
  }
  Colour value(int i, int j) const {
    const auto p = pixel(i, j);
    if (p[3] == 0) return {0, 0, 0};
    return {std::ldexp(p[0], p[3] - 136), std::ldexp(p[1], p[3] - 136), std::ldexp(p[2], p[3] - 136)};
  }
  void setValue(int i, int j, Colour c) {
    int e;
    std::frexp(std::max({c.r, c.g, c.b}), &e);
    const auto mantissa = [e](double v) { return static_cast<int>(std::ldexp(v, 8 - e)); };
    setPixel(i, j, {mantissa(c.r), mantissa(c.g), mantissa(c.b), e + 128});
  }

  int width, height;
  std::vector<unsigned char> bytes;
};

template <class PixelAt>  // (i, j) -> Colour
RgbePicture makePicture(int width, int height, PixelAt&& pixelAt) {
  RgbePicture picture(width, height);
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) picture.setValue(i, j, pixelAt(i, j));
  }
  return picture;
}

// What the bytes of a random picture look like.
enum class Kind {
  kOrdinary,      // smooth light and colour over ten octaves, noise, a few black pixels
  kAnyBytes,      // every byte at random
  kNarrow,        // hardly any range
  kMostlyBlack,   // one pixel in three black
  kExtremeRange,  // runs of exponents at both ends, sums beyond the float range, and of the faintest visible light
  kNearlyFlat,    // one colour but for a few pixels
  kOneHue,        // one chromaticity: what is smoothed is what was there, but for the last bit
};
constexpr Kind kAllKinds[] = {Kind::kOrdinary,     Kind::kAnyBytes,   Kind::kNarrow, Kind::kMostlyBlack,
                              Kind::kExtremeRange, Kind::kNearlyFlat, Kind::kOneHue};

inline RgbePicture randomPicture(int width, int height, Kind kind, unsigned seed) {
  std::mt19937 random(seed);
  const auto between = [&random](int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  };
  const auto byte = [&between] { return between(0, 255); };
  RgbePicture picture(width, height);
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) {
      switch (kind) {
        case Kind::kOrdinary: {
          const double light = std::exp(3.5 * std::sin(i * 0.05 + seed) * std::cos(j * 0.03));
          const auto channel = [&](int c) {
            return light * (c == (i / 17 + j / 23) % 3 ? 1.0 : 0.4) * between(850, 1150) / 1000;
          };
          picture.setValue(i, j, {channel(0), channel(1), channel(2)});
          if (between(0, 400) == 0) picture.setPixel(i, j, {byte(), byte(), byte(), 0});
          break;
        }
        case Kind::kAnyBytes:
          picture.setPixel(i, j, {byte(), byte(), byte(), byte()});
          break;
        case Kind::kNarrow:
          picture.setPixel(i, j, {between(128, 255), between(128, 255), between(128, 255), between(126, 129)});
          break;
        case Kind::kMostlyBlack:
          picture.setPixel(i, j, {byte(), byte(), byte(), between(0, 2) ? between(120, 140) : 0});
          break;
        case Kind::kExtremeRange:
          if ((i / 40 + j) % 2 == 0) {
            picture.setPixel(i, j, {between(0, 6), between(0, 6), between(0, 6), between(29, 33)});
          } else {
            picture.setPixel(i, j, {byte(), byte(), byte(), between(0, 1) ? between(0, 12) : between(240, 255)});
          }
          break;
        case Kind::kNearlyFlat:
          picture.setPixel(i, j, {200, 180, between(0, 9) ? 160 : byte(), between(0, 50) ? 128 : between(118, 138)});
          break;
        case Kind::kOneHue: {
          const int light = between(17, 36);
          picture.setPixel(i, j, {7 * light, 5 * light, 3 * light, between(126, 129)});
          break;
        }
      }
    }
  }
  return picture;
}

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_RGBE_PICTURES_H
