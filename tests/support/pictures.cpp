#include "support/pictures.h"

#include <cmath>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace veskaro::test {
namespace {

float sceneSample(int x, int y, int k, int w) {
  float v = 20.0f + 1.3f * static_cast<float>(x) + 0.7f * static_cast<float>(y) + 9.0f * static_cast<float>(k);
  if (2 * x + y > w) v = 190.0f - 25.0f * static_cast<float>(k);         // another side of an edge
  if (x % 37 > 30) v += static_cast<float>(12 * ((x + y) % 2 + x % 2));  // fine stripes
  return std::fmod(v, 250.0f);
}

float hostileSample(std::mt19937* engine) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kValues[] = {
      kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN(), 3e38f, -3e38f, 1e-41f, 1e20f, -0.0f,
      -1e7f,     65535.99f};
  return kValues[(*engine)() % (sizeof kValues / sizeof kValues[0])];
}

template <typename Sample>
double psnrOf(const Picture<std::uint8_t>& clean, const std::vector<Sample>& samples) {
  constexpr double kScale = sizeof(Sample) == 1 ? 1.0 : 257.0;
  double sum = 0.0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double d = static_cast<double>(samples[i]) / kScale - clean.samples[i];
    sum += d * d;
  }
  return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(samples.size()) / sum);
}

}  // namespace

Level makeLevel(int w, int h, Kind kind, unsigned seed) {
  Level level(w, h);
  std::mt19937 engine(seed);
  // Four uniform numbers' sum, exact on every machine; the deviation is 1.5 or 6.
  const auto noise = [&engine, kind] {
    std::int32_t sum = -(1 << 24);
    for (int k = 0; k < 4; ++k) sum += static_cast<std::int32_t>(engine() >> 9);
    return static_cast<float>(sum) * (kind == Kind::kFlatNoise ? 0x1.4p-22f : 0x1.4p-20f);
  };
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      for (int k = 0; k < 3; ++k) {
        float& v = level.at(x, y)[k];
        v = kind == Kind::kFlatNoise ? 90.0f + 15.0f * static_cast<float>(k) + noise()
                                     : sceneSample(x, y, k, w) + noise();
        if (kind == Kind::kWhole) v = static_cast<float>(engine() % 4 == 0 ? engine() % 60 : engine() % 12);
        if (kind == Kind::kMantissas) {
          const int most = 2 * y < h ? 8 : 9;
          const float mantissa = 1.0f + static_cast<float>(engine() >> 9) * 0x1p-23f;
          v = std::ldexp(mantissa, most - static_cast<int>(engine() % 21));
          if (engine() % 2 == 0) v = -v;
        }
        if (kind == Kind::kSpread) {
          v = noise();
          v = std::ldexp(v, static_cast<int>(engine() % 60) - 30);
        }
        if (kind == Kind::kHostile && engine() % 60 == 0) v = hostileSample(&engine);
      }
    }
  }
  return level;
}

Picture<std::uint8_t> readPhotograph() {
  std::ifstream file(VESKARO_TEST_PHOTOGRAPH, std::ios::binary);
  std::string magic;
  int width = 0;
  int height = 0;
  int most = 0;
  file >> magic >> width >> height >> most;
  file.get();
  if (magic != "P6" || most != 255 || width < 1 || height < 1) throw std::runtime_error("no photograph");
  Picture<std::uint8_t> picture(width, height);
  file.read(reinterpret_cast<char*>(picture.samples.data()), static_cast<std::streamsize>(picture.samples.size()));
  if (!file) throw std::runtime_error("photograph cut short");
  return picture;
}

double psnr(const Picture<std::uint8_t>& clean, const std::vector<std::uint8_t>& samples) {
  return psnrOf(clean, samples);
}

double psnr(const Picture<std::uint8_t>& clean, const std::vector<std::uint16_t>& samples) {
  return psnrOf(clean, samples);
}

}  // namespace veskaro::test
