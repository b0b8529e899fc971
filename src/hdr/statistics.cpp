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

float LogOrZero(float value) {
  return value > 0.0f ? std::log(value) : 0.0f;
}

// One measured quantity: its extremes, then its histogram between them. Bins are counted with 65535 steps over the
// range and read back with 65536.
class LogHistogram {
 public:
  void Extend(float value) {
    min_ = std::min(min_, value);
    max_ = std::max(max_, value);
  }
  bool HasSpread() const { return min_ < max_ && max_ < std::numeric_limits<float>::infinity(); }

  void StartCounting(int* bins) {
    bins_ = bins;
    toBin_ = 65535.0f / (max_ - min_);
  }
  void Count(float value) { ++bins_[std::clamp(static_cast<int>((value - min_) * toBin_), 0, kBins - 1)]; }

  float Percentile(float perc, std::size_t pixels) const {
    const float fromBin = (max_ - min_) * 1.52587890625e-05f;
    return static_cast<float>(PercentileBin(perc, pixels, kBins, bins_)) * fromBin + min_;
  }
  double Range() const { return static_cast<double>(max_) - static_cast<double>(min_); }

 private:
  // A picture that is uniform and below 1 has spread all the same: its maximum stays 0.
  float min_ = 1e9f;
  float max_ = 0.0f;
  float toBin_ = 0.0f;
  int* bins_ = nullptr;
};

// Calls visit(log colour sum, log luminance) for every pixel; black counts as 0, the log of 1.
template <class Visit>
void ForEachPixel(const PictureSize& size, const unsigned char* picture, Visit&& visit) {
  const ExponentTable table;
  for (int j = 0; j < size.height; ++j) {
    const ConstRgbeRow row = RowOf(picture, size.width, j);
    for (int i = 0; i < size.width; ++i) {
      const Rgb colour = Decode(row, i, table);
      visit(LogOrZero((colour.b + colour.g) + colour.r), LogOrZero(Luminance(colour)));
    }
  }
}

float Towards(float from, float to, double share) {
  return static_cast<float>(from + share * static_cast<double>(to - from));
}

HdrStatistics Summarize(const LogHistogram& sum, const LogHistogram& luminance, std::size_t pixels,
                        float initialThreshold) {
  const float sumP01 = sum.Percentile(0.01f, pixels);
  const float sumMedian = sum.Percentile(0.5f, pixels);
  const float sumP99 = sum.Percentile(0.99f, pixels);
  const float lumP01 = luminance.Percentile(0.01f, pixels);
  const float medY = luminance.Percentile(0.5f, pixels);
  const float satY = luminance.Percentile(0.99f, pixels);
  const float seuil = static_cast<float>(2.0 * initialThreshold * luminance.Range());
  return {Towards(sumMedian, sumP01, 0.25),
          Towards(sumMedian, sumP99, 0.5),
          (lumP01 + medY) * 0.5f,
          medY,
          satY,
          (satY - medY) * seuil};
}

}  // namespace

int PercentileBin(float perc, std::size_t imageSize, int histoLen, const int* histo) {
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

int MeasurePicture(const PictureSize& size, const unsigned char* picture, float initialThreshold,
                   HdrStatistics* statistics) {
  if (size.Empty()) return NR_ERROR_STATISTICS;
  LogHistogram sum, luminance;
  ForEachPixel(size, picture, [&](float logSum, float logLuminance) {
    sum.Extend(logSum);
    luminance.Extend(logLuminance);
  });
  if (!sum.HasSpread() || !luminance.HasSpread()) return NR_ERROR_STATISTICS;

  ZeroedArray<int> histo32ch(kBins), histo32lum(kBins);
  if (!histo32ch || !histo32lum) return NR_ERROR_MEMORY;
  sum.StartCounting(histo32ch.data());
  luminance.StartCounting(histo32lum.data());
  ForEachPixel(size, picture, [&](float logSum, float logLuminance) {
    sum.Count(logSum);
    luminance.Count(logLuminance);
  });
  *statistics = Summarize(sum, luminance, size.Pixels(), initialThreshold);
  return NR_OK;
}

}  // namespace veskaro

extern "C" int percentileD(float perc, size_t imageSize, int histoLen, int* histo) {
  return veskaro::PercentileBin(perc, imageSize, histoLen, histo);
}

extern "C" int hdr_stats(int /*denoisingProc*/, int iMax, int jMax, int /*rowStride*/, int /*spp*/, int /*bpsImage*/,
                         float initialSeuil, unsigned char* pImage, float* hdrStats) {
  const veskaro::PictureSize size = {iMax, jMax};
  if (size.Empty()) return NR_ERROR_STATISTICS;
  if (!pImage || !hdrStats || size.Pixels() > std::numeric_limits<int>::max()) return NR_ERROR_ARGUMENT;
  const veskaro::DefaultFpEnvironment environment;
  veskaro::HdrStatistics s;
  const int result = veskaro::MeasurePicture(size, pImage, initialSeuil, &s);
  if (result != NR_OK) return result;
  const float values[] = {s.sumShadows,      s.sumSaturation, s.luminanceShadows,
                          s.luminanceMedian, s.luminance99,   s.luminanceThreshold};
  std::copy(std::begin(values), std::end(values), hdrStats);
  return NR_OK;
}
