#include "hdr/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

#include "VeskaroNRLib.h"
#include "hdr/percentile_search.h"
#include "hdr/rgbe.h"
#include "hdr/ybr.h"
#include "platform/fp_environment.h"

namespace veskaro {

namespace {

constexpr float kShares[kPercentiles] = {0.01f, 0.5f, 0.99f};

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

HdrStatistics summarize(const LogPercentiles& sum, const LogPercentiles& luminance, float initialThreshold) {
  const auto at = [](const LogPercentiles& p, int n) { return p.scale.valueOf(p.bins[n]); };
  const float sumMedian = at(sum, 1), medY = at(luminance, 1), satY = at(luminance, 2);
  const float seuil = static_cast<float>(2.0 * initialThreshold * luminance.scale.range());
  return {towards(sumMedian, at(sum, 0), 0.25),
          towards(sumMedian, at(sum, 2), 0.5),
          (at(luminance, 0) + medY) * 0.5f,
          medY,
          satY,
          (satY - medY) * seuil};
}

// The share of the pixels as a count, truncated. False when no running sum can exceed it.
bool percentileLimit(float perc, std::size_t imageSize, std::uint64_t* limit) {
  const float target = perc * static_cast<float>(imageSize);
  constexpr float kUnsignedLimit = 18446744073709551616.0f;
  if (!(target < kUnsignedLimit)) return false;  // or not a number
  *limit = target > 0.0f ? static_cast<std::uint64_t>(target) : 0;
  return true;
}

// Two passes: the extremes of the logarithms, then their histograms.
int countPercentiles(const PictureSize& size, const unsigned char* picture, LogPercentiles* sum,
                     LogPercentiles* luminance) {
  forEachPixel(size, picture, [&](float logSum, float logLuminance) {
    sum->scale.extend(logSum);
    luminance->scale.extend(logLuminance);
  });
  if (!sum->scale.hasSpread() || !luminance->scale.hasSpread()) return NR_ERROR_STATISTICS;

  HeapArray<int> histo32ch(kLogBins, Fill::kZeros), histo32lum(kLogBins, Fill::kZeros);
  if (!histo32ch || !histo32lum) return NR_ERROR_MEMORY;
  const float ech0ch = sum->scale.binsPerUnit(), ech0lum = luminance->scale.binsPerUnit();
  forEachPixel(size, picture, [&](float logSum, float logLuminance) {
    ++histo32ch.data()[sum->scale.binOf(logSum, ech0ch)];
    ++histo32lum.data()[luminance->scale.binOf(logLuminance, ech0lum)];
  });
  for (int n = 0; n < kPercentiles; ++n) {
    sum->bins[n] = percentileBin(kShares[n], size.pixels(), kLogBins, histo32ch.data());
    luminance->bins[n] = percentileBin(kShares[n], size.pixels(), kLogBins, histo32lum.data());
  }
  return NR_OK;
}

}  // namespace

int percentileBin(float perc, std::size_t imageSize, int histoLen, const int* histo) {
  if (histoLen < 1) return 0;
  std::uint64_t limit;
  if (!percentileLimit(perc, imageSize, &limit)) return histoLen;
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
  std::uint64_t ranks[kPercentiles] = {};
  for (int n = 0; n < kPercentiles; ++n) percentileLimit(kShares[n], size.pixels(), &ranks[n]);
  LogPercentiles quantities[kQuantities];
  int result = searchPercentiles(size, picture, ranks, quantities);
  if (result == vectors::kNotTaken) result = countPercentiles(size, picture, &quantities[0], &quantities[1]);
  if (result == NR_OK) *statistics = summarize(quantities[0], quantities[1], initialThreshold);
  return result;
}

}  // namespace veskaro

extern "C" int percentileD(float perc, size_t imageSize, int histoLen, int* histo) {
  const veskaro::platform::DefaultFpEnvironment environment;
  return veskaro::percentileBin(perc, imageSize, histoLen, histo);
}

extern "C" int hdr_stats(int /*denoisingProc*/, int iMax, int jMax, int /*rowStride*/, int /*spp*/, int /*bpsImage*/,
                         float initialSeuil, unsigned char* pImage, float* hdrStats) {
  const veskaro::PictureSize size = {iMax, jMax};
  if (size.isEmpty()) return NR_ERROR_STATISTICS;
  if (!pImage || !hdrStats || size.pixels() > std::numeric_limits<int>::max()) return NR_ERROR_ARGUMENT;
  const veskaro::platform::DefaultFpEnvironment environment;
  veskaro::HdrStatistics s;
  const int result = veskaro::measurePicture(size, pImage, initialSeuil, &s);
  if (result != NR_OK) return result;
  const float values[] = {s.sumShadows,      s.sumSaturation, s.luminanceShadows,
                          s.luminanceMedian, s.luminance99,   s.luminanceThreshold};
  std::copy(std::begin(values), std::end(values), hdrStats);
  return NR_OK;
}
