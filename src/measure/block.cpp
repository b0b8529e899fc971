#include "measure/block.h"

#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <limits>

namespace veskaro::measure {
namespace {

constexpr int kChannels = 3;
constexpr int kGridStep = 8;
constexpr float kBaseSum = 288.0f;  // makes up for comparisons skipped because a sample was clipped

// Working values of integers, cut off: the high-order bits of those of 8 bits and more.
template <typename Sample>
class IntegerReader {
 public:
  IntegerReader(const pixels::PictureView& picture, const pixels::SampleScale& scale)
      : picture_(picture), white_(static_cast<int>(scale.white)), factor_(scale.toWorking) {}

  int operator()(int channel, int x, int y) {
    const int v = pixels::loadSample<Sample>(picture_.at(channel, x, y));
    return static_cast<int>(static_cast<float>(v < white_ ? v : white_) * factor_);
  }
  bool sawOnlyNumbers() const { return true; }

 private:
  const pixels::PictureView& picture_;
  int white_;
  float factor_;
};

class FloatReader {
 public:
  FloatReader(const pixels::PictureView& picture, const pixels::SampleScale& scale)
      : picture_(picture), scale_(scale) {}

  int operator()(int channel, int x, int y) {
    const float v = pixels::loadSample<float>(picture_.at(channel, x, y));
    if (!std::isfinite(v)) sawOnlyNumbers_ = false;
    return static_cast<int>(pixels::truncated(pixels::toWorking(v, scale_), 255.0f));
  }
  bool sawOnlyNumbers() const { return sawOnlyNumbers_; }

 private:
  const pixels::PictureView& picture_;
  const pixels::SampleScale& scale_;
  bool sawOnlyNumbers_ = true;
};

bool isClipped(int value) {
  return value == 0 || value == 255;
}

// One channel's sample of the grid with the neighbours to its right and below it.
struct GridSums {
  int deviation[kChannels] = {};
  int sum[kChannels] = {};
  int clipped = 0;

  void add(int channel, int value, int right, int below) {
    sum[channel] += value;
    if (isClipped(value)) {
      clipped += 2;
      return;
    }
    for (const int neighbour : {right, below}) {
      if (isClipped(neighbour)) {
        ++clipped;
      } else {
        deviation[channel] += std::abs(value - neighbour);
      }
    }
  }
};

template <class Reader>
bool sumGrid(Reader read, int x, int y, GridSums* grid) {
  for (int dy = 0; dy < kBlockSize; dy += kGridStep) {
    for (int dx = 0; dx < kBlockSize; dx += kGridStep) {
      for (int k = 0; k < kChannels; ++k) {
        grid->add(k, read(k, x + dx, y + dy), read(k, x + dx + 1, y + dy), read(k, x + dx, y + dy + 1));
      }
    }
  }
  return read.sawOnlyNumbers();
}

// The pairs of neighbours on both sides of the interior lines.
struct LineSums {
  float deviation = 0.0f;
  std::int64_t clipped = 0;

  void add(int a, int b) {
    const auto isMeasurable = [](int value) { return value > 1 && value < 254; };
    if (isMeasurable(a) && isMeasurable(b)) {
      deviation += static_cast<float>(std::abs(a - b));
    } else {
      ++clipped;
    }
  }

  float scaled(int blockSize) const {
    const std::int64_t examined = std::int64_t{18} * blockSize;
    if (clipped == examined) return std::numeric_limits<float>::quiet_NaN();
    const float pairs = static_cast<float>(examined);
    const float scale = static_cast<float>(std::int64_t{6} * (blockSize - 1) * (blockSize - 1));
    return ((pairs / (pairs - static_cast<float>(clipped))) * deviation / pairs) * scale;
  }
};

template <class Reader>
bool sumLines(Reader read, int x, int y, int blockSize, LineSums* sums) {
  const int lines[3] = {blockSize / 4 - 1, blockSize / 2 - 1, static_cast<int>(std::int64_t{3} * blockSize / 4) - 1};
  for (int across = 0; across < blockSize; ++across) {
    for (int k = 0; k < kChannels; ++k) {
      for (const int line : lines) sums->add(read(k, x + line, y + across), read(k, x + line + 1, y + across));
    }
  }
  for (int across = 0; across < blockSize; ++across) {
    for (int k = 0; k < kChannels; ++k) {
      for (const int line : lines) sums->add(read(k, x + across, y + line), read(k, x + across, y + line + 1));
    }
  }
  return read.sawOnlyNumbers();
}

// In double and always in the same order, so that the sums are the same wherever they are formed.
struct RootSums {
  double sum = 0.0, deviation = 0.0;

  static double rootOf(const unsigned char* sample) {
    const float v = pixels::loadSample<float>(sample);
    return static_cast<double>(std::copysign(std::sqrt(std::fabs(v)), v));
  }
  void add(const unsigned char* a, const unsigned char* b) {
    const double ra = rootOf(a), rb = rootOf(b);
    sum += ra + rb;
    deviation += std::fabs(ra - rb);
  }
};

// Calls visit with the reader of the picture's samples.
template <class Visit>
bool withReader(const pixels::PictureView& picture, const pixels::SampleScale& scale, const Visit& visit) {
  switch (picture.type) {
    case pixels::SampleType::kUint8:
      return visit(IntegerReader<std::uint8_t>(picture, scale));
    case pixels::SampleType::kUint16:
      return visit(IntegerReader<std::uint16_t>(picture, scale));
    default:
      return visit(FloatReader(picture, scale));
  }
}

double brightnessDivisor(int average) {
  constexpr double kSlope = (static_cast<double>(0.2f) - 1.0) / 255.0;
  return 1.0 + static_cast<double>(static_cast<float>(average)) * kSlope;
}

}  // namespace

bool measureSparsely(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                     SparseMeasurement* measured) {
  GridSums grid;
  const bool onlyNumbers = withReader(picture, scale, [&](const auto& reader) { return sumGrid(reader, x, y, &grid); });
  const float perPair = 1.0f / (kBaseSum - static_cast<float>(grid.clipped));
  int deviation = 0;
  for (const int d : grid.deviation) deviation += static_cast<int>(static_cast<float>(d) * kBaseSum * perPair);
  const int average = (grid.sum[0] / 16 + grid.sum[1] / 16 + grid.sum[2] / 16) / 3;
  *measured = {deviation, deviation == 0 ? 0 : average};
  return onlyNumbers;
}

bool measureDensely(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y, int blockSize,
                    float* deviation) {
  LineSums sums;
  const bool onlyNumbers =
      withReader(picture, scale, [&](const auto& reader) { return sumLines(reader, x, y, blockSize, &sums); });
  *deviation = sums.scaled(blockSize);
  return onlyNumbers;
}

bool measureRoots(const pixels::PictureView& picture, int x, int y, RootMeasurement* measured) {
  constexpr int kLines[3] = {7, 15, 23};
  constexpr double kPairs = 18.0 * kBlockSize;
  RootSums sums;
  for (int across = 0; across < kBlockSize; ++across) {
    for (int k = 0; k < kChannels; ++k) {
      for (const int line : kLines) {
        sums.add(picture.at(k, x + line, y + across), picture.at(k, x + line + 1, y + across));
        sums.add(picture.at(k, x + across, y + line), picture.at(k, x + across, y + line + 1));
      }
    }
  }
  *measured = {static_cast<float>(sums.sum / (2.0 * kPairs)), static_cast<float>(sums.deviation / kPairs)};
  return std::isfinite(sums.sum);
}

float evenedOut(int deviation, int average) {
  return static_cast<float>(static_cast<double>(static_cast<float>(deviation)) / brightnessDivisor(average));
}

float evenedOut(float denseDeviation, int average) {
  constexpr double kPairScale = 5766.0;  // 6 * 31^2: the scale of a block's dense measurement
  return static_cast<float>(static_cast<double>(denseDeviation) / brightnessDivisor(average) * (1.0 / kPairScale));
}

}  // namespace veskaro::measure
