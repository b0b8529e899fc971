#include "command/selftest.h"

#include <VeskaroNRLib.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <vector>

namespace tool::command {
namespace {

// 64-bit FNV-1a (Fowler, Noll, Vo) over values, the lowest byte of each first, in whatever order memory has them.
class Digest {
 public:
  template <typename T>
  void add(T value) {
    const auto bits = static_cast<std::uint64_t>(value);
    for (std::size_t k = 0; k < sizeof(T); ++k) value_ = (value_ ^ (bits >> 8 * k & 0xff)) * 0x100000001b3u;
  }
  void add(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    add(bits);
  }
  template <typename T>
  void add(const std::vector<T>& values) {
    for (const T value : values) add(value);
  }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_ = 0xcbf29ce484222325u;
};

// Whole numbers only, so that the input is beyond doubt (a linear congruential generator; Knuth, MMIX).
class Noise {
 public:
  int within(int spread) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<int>((state_ >> 33) % static_cast<std::uint64_t>(2 * spread + 1)) - spread;
  }

 private:
  std::uint64_t state_ = 1;
};

int clampTo(int value, int most) {
  return value < 0 ? 0 : value > most ? most : value;
}

// Ramps, a hard edge and noise, on the 16-bit scale.
int sceneAt(int x, int y, int channel, Noise& noise, int spread) {
  const int ramp = 4000 + 150 * x + 90 * y + 2500 * channel;
  const int edge = (x / 29 + y / 41) % 2 * 17000;
  return clampTo(ramp + edge + noise.within(spread), 65535);
}

template <typename Sample>
std::vector<Sample> scene(int w, int h, int stride, int spread) {
  std::vector<Sample> picture(static_cast<std::size_t>(stride) * static_cast<std::size_t>(h));
  Noise noise;
  for (int y = 0; y < h; ++y) {
    for (int k = 0; k < 3 * w; ++k) {
      const int v = sceneAt(k / 3, y, k % 3, noise, spread);
      picture[static_cast<std::size_t>(y * stride + k)] = static_cast<Sample>(sizeof(Sample) == 1 ? v / 256 : v);
    }
  }
  return picture;
}

template <typename Sample>
void addPicture(Digest* digest, int w, int h, int threads, int tile, int spread, float strength) {
  const int stride = 3 * w + 5;
  std::vector<Sample> in = scene<Sample>(w, h, stride, spread), out(in.size());
  float params[NR_PARAM_COUNT];
  nr_def(params);
  params[NR_NOISE_LEVEL] = strength;
  digest->add(denoise2(w, h, 3, stride, 8 * sizeof(Sample), tile, threads, params, nullptr,
                       reinterpret_cast<unsigned char*>(in.data()), reinterpret_cast<unsigned char*>(out.data())));
  for (const float entry : params) digest->add(entry);
  digest->add(out);
}

std::vector<unsigned char> hdrScene(int w, int h) {
  std::vector<unsigned char> picture(static_cast<std::size_t>(4 * w * h));
  Noise noise;
  for (int y = 0; y < h; ++y) {
    for (int k = 0; k < 4 * w; ++k) {
      const int x = k % w;
      const int mantissa = clampTo(150 + x / 2 + noise.within(25), 255), exponent = 124 + (x + 2 * y) / 24 % 9;
      picture[static_cast<std::size_t>(4 * w * y + k)] = static_cast<unsigned char>(k / w == 3 ? exponent : mantissa);
    }
  }
  return picture;
}

void addHdrPicture(Digest* digest, int strength) {
  constexpr int kWidth = 101, kHeight = 67;
  std::vector<unsigned char> in = hdrScene(kWidth, kHeight), out(in.size());
  digest->add(denoise1(strength, kWidth, kHeight, 0, 0, 32, in.data(), out.data()));
  digest->add(in);
  digest->add(out);
}

std::vector<float> level(int w, int h, int spread) {
  const std::vector<std::uint16_t> samples = scene<std::uint16_t>(w, h, 3 * w, spread);
  std::vector<float> level(samples.size());
  for (std::size_t k = 0; k < level.size(); ++k) level[k] = static_cast<float>(samples[k]) * 0.00390625f;
  return level;
}

// The building blocks, every bit of their scratch included.
void addBlocks(Digest* digest, int workers) {
  constexpr int kWidth = 89, kHeight = 53;
  float params[NR_PARAM_COUNT];
  nr_def(params);
  calcParams(params);
  std::vector<float> image = level(kWidth, kHeight, 1500), a(image.size()), b(image.size()), c(image.size());
  int whole[] = {2, kWidth - 2, 2, kHeight - 2};
  for (int rang = 0; rang < 4; ++rang) {
    digest->add(
        noiseReduce_set(rang, kWidth, kHeight, whole, 3, workers, 0, a.data(), b.data(), c.data(), image.data()));
    for (const auto* buffer : {&a, &b, &c, &image}) digest->add(*buffer);
  }
  const auto pyramid = static_cast<std::size_t>(3 * len_pyram(3, kWidth, kHeight));
  std::vector<float> tile = level(kWidth, kHeight, 3000), differences(pyramid);
  tile.resize(pyramid);
  int main[] = {8, kWidth - 8, 8, kHeight - 8};
  digest->add(denoise_tile(kWidth, kHeight, main, 3, workers, differences.data(), b.data(), c.data(), tile.data()));
  digest->add(tile);
  digest->add(differences);
  digest->add(c);
}

}  // namespace

const std::uint64_t kSelfTestExpected = 0x3de339e8eb2925d8u;

std::uint64_t selfTestDigest() {
  reconSimilarityThreshold = 10.0f;
  reconSimilarityRolloff = 50.0f;
  Digest digest;
  for (const int threads : {1, 2, 3, 8}) {
    addPicture<std::uint8_t>(&digest, 211, 173, threads, 64, 900, 1.0f);
    addPicture<std::uint16_t>(&digest, 150, 131, threads, 72, 4000, 0.8f);
  }
  addPicture<std::uint16_t>(&digest, 131, 97, 2, 256, 200, 1.5f);
  addPicture<std::uint8_t>(&digest, 23, 31, 2, 256, 2000, 1.0f);  // too small to measure
  for (const int strength : {75, 100, 140}) addHdrPicture(&digest, strength);
  for (const int workers : {1, 3}) addBlocks(&digest, workers);
  return digest.value();
}

int selfTest() {
  const std::uint64_t digest = selfTestDigest();
  const bool isRight = digest == kSelfTestExpected;
  std::printf("VeskaroNRLib %d.%d.%d, digest %016" PRIx64 ": %s\n", VESKARONR_VERSION_MAJOR, VESKARONR_VERSION_MINOR,
              VESKARONR_VERSION_PATCH, digest, isRight ? "as it has to be" : "NOT as it has to be");
  if (!isRight) std::printf("expected %016" PRIx64 "; please report this line and the processor\n", kSelfTestExpected);
  return isRight ? 0 : 1;
}

}  // namespace tool::command
