#include "hdr/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

#include "VeskaroNRLib.h"
#include "hdr/rgbe.h"
#include "hdr/ybr.h"
#include "host/fp_environment.h"

namespace veskaro {

namespace {

constexpr int kBins = 65536;

float logOrZero(float value) {
  return value > 0.0f ? std::log(value) : 0.0f;
}

// One measured quantity: its extremes, then its histogram between them. Bins are counted with 65535 steps over the
// range and read back with 65536.
class LogHistogram {
 public:
  void extend(float value) {
    min_ = std::min(min_, value);
    max_ = std::max(max_, value);
  }
  bool hasSpread() const { return min_ < max_ && max_ < std::numeric_limits<float>::infinity(); }

  void startCounting(int* bins) {
    bins_ = bins;
    toBin_ = 65535.0f / (max_ - min_);
  }
  void count(float value) { ++bins_[std::clamp(static_cast<int>((value - min_) * toBin_), 0, kBins - 1)]; }

  float percentile(float perc, std::size_t pixels) const {
    const float fromBin = (max_ - min_) * 1.52587890625e-05f;
    return static_cast<float>(percentileBin(perc, pixels, kBins, bins_)) * fromBin + min_;
  }
  double range() const { return static_cast<double>(max_) - static_cast<double>(min_); }

 private:
  // A picture that is uniform and below 1 has spread all the same: its maximum stays 0.
  float min_ = 1e9f;
  float max_ = 0.0f;
  float toBin_ = 0.0f;
  int* bins_ = nullptr;
};

// Calls visit(log colour sum, log luminance) for every pixel; black counts as 0, the log of 1.
template <class Visit>
void forEachPixel(const PictureSize& size, const unsigned char* picture, Visit&& visit) {
  const ExponentTable table;
  for (int j = 0; j < size.height; ++j) {
    const ConstRgbeRow row = rowOf(picture, size.width, j);
    for (int i = 0; i < size.width; ++i) {
      const Rgb colour = decode(row, i, table);
      visit(logOrZero((colour.b + colour.g) + colour.r), logOrZero(luminance(colour)));
    }
  }
}

float towards(float from, float to, double share) {
  return static_cast<float>(from + share * static_cast<double>(to - from));
}

HdrStatistics summarize(const LogHistogram& sum, const LogHistogram& luminance, std::size_t pixels,
                        float initialThreshold) {
  const float sumP01 = sum.percentile(0.01f, pixels);
  const float sumMedian = sum.percentile(0.5f, pixels);
  const float sumP99 = sum.percentile(0.99f, pixels);
  const float lumP01 = luminance.percentile(0.01f, pixels);
  const float medY = luminance.percentile(0.5f, pixels);
  const float satY = luminance.percentile(0.99f, pixels);
  const float seuil = static_cast<float>(2.0 * initialThreshold * luminance.range());
  return {towards(sumMedian, sumP01, 0.25),
          towards(sumMedian, sumP99, 0.5),
          (lumP01 + medY) * 0.5f,
          medY,
          satY,
          (satY - medY) * seuil};
}

}  // namespace

int percentileBin(float perc, std::size_t imageSize, int histoLen, const int* histo) {
  if (histoLen < 1) return 0;
  const float target = perc * static_cast<float>(imageSize);
  constexpr float kUnsignedLimit = 18446744073709551616.0f;
  if (!(target < kUnsignedLimit)) return histoLen;  // more than any sum, or not a number
  const std::uint64_t limit = target > 0.0f ? static_cast<std::uint64_t>(target) : 0;
  std::uint64_t sum = 0;
  for (int i = 0; i < histoLen; ++i) {
    sum += static_cast<std::uint64_t>(static_cast<std::int64_t>(histo[i]));
    if (sum > limit) return i;
  }
  return histoLen;
}

int measurePicture(const PictureSize& size, const unsigned char* picture, float initialThreshold,
                   HdrStatistics* statistics) {
  if (size.isEmpty()) return NR_ERROR_STATISTICS;
  LogHistogram sum, luminance;
  forEachPixel(size, picture, [&](float logSum, float logLuminance) {
    sum.extend(logSum);
    luminance.extend(logLuminance);
  });
  if (!sum.hasSpread() || !luminance.hasSpread()) return NR_ERROR_STATISTICS;

  HeapArray<int> histo32ch(kBins, Fill::kZeros), histo32lum(kBins, Fill::kZeros);
  if (!histo32ch || !histo32lum) return NR_ERROR_MEMORY;
  sum.startCounting(histo32ch.data());
  luminance.startCounting(histo32lum.data());
  forEachPixel(size, picture, [&](float logSum, float logLuminance) {
    sum.count(logSum);
    luminance.count(logLuminance);
  });
  *statistics = summarize(sum, luminance, size.pixels(), initialThreshold);
  return NR_OK;
}

}  // namespace veskaro

extern "C" int percentileD(float perc, size_t imageSize, int histoLen, int* histo) {
  return veskaro::percentileBin(perc, imageSize, histoLen, histo);
}

extern "C" int hdr_stats(int /*denoisingProc*/, int iMax, int jMax, int /*rowStride*/, int /*spp*/, int /*bpsImage*/,
                         float initialSeuil, unsigned char* pImage, float* hdrStats) {
  const veskaro::PictureSize size = {iMax, jMax};
  if (size.isEmpty()) return NR_ERROR_STATISTICS;
  if (!pImage || !hdrStats || size.pixels() > std::numeric_limits<int>::max()) return NR_ERROR_ARGUMENT;
  const veskaro::DefaultFpEnvironment environment;
  veskaro::HdrStatistics s;
  const int result = veskaro::measurePicture(size, pImage, initialSeuil, &s);
  if (result != NR_OK) return result;
  const float values[] = {s.sumShadows,      s.sumSaturation, s.luminanceShadows,
                          s.luminanceMedian, s.luminance99,   s.luminanceThreshold};
  std::copy(std::begin(values), std::end(values), hdrStats);
  return NR_OK;
}
