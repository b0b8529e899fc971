#include <cstring>

#include "hdr/rgbe/ybr.h"
#include "hdr/statistics/log_percentiles.h"
#include "hdr/statistics/percentile.h"
#include "platform/heap_array.h"

namespace veskaro::hdr {

namespace {

float logColourSum(const Rgb& colour) {
  return logOrZero((colour.b + colour.g) + colour.r);
}

// Calls visit(log colour sum, log luminance) for every pixel.
template <class Visit>
void forEachPixel(const ConstPicture& picture, const Visit& visit) {
  const ExponentTable table;
  for (int y = 0; y < picture.size.height; ++y) {
    const ConstRgbeRow row = picture.row(y);
    for (int i = 0; i < picture.size.width; ++i) {
      const Rgb colour = decode(row, i, table);
      visit(logColourSum(colour), logLuminance(colour));
    }
  }
}

void extend(LogPercentiles (&quantities)[kQuantities], float logSum, float logLuma) {
  quantities[kColourSum].scale.extend(logSum);
  quantities[kLuminance].scale.extend(logLuma);
}

bool isLikeTheRowAbove(const ConstPicture& picture, int y) {
  const std::size_t rowBytes = 4 * static_cast<std::size_t>(picture.size.width);
  return y > 0 && std::memcmp(picture.row(y - 1).r, picture.row(y).r, rowBytes) == 0;
}

}  // namespace

bool showsSpread(const ConstPicture& picture) {
  const ExponentTable table;
  LogPercentiles quantities[kQuantities];
  for (int y = 0; y < picture.size.height; ++y) {
    if (isLikeTheRowAbove(picture, y)) continue;
    for (int i = 0; i < picture.size.width; ++i) {
      const Rgb colour = decode(picture.row(y), i, table);
      extend(quantities, logColourSum(colour), logLuminance(colour));
      if (haveSpread(quantities)) return true;
    }
  }
  return false;
}

bool plain::findPercentiles(const ConstPicture& picture, LogPercentiles (&found)[kQuantities]) {
  LogPercentiles &sum = found[kColourSum], &luma = found[kLuminance];
  forEachPixel(picture, [&found](float logSum, float logLuma) { extend(found, logSum, logLuma); });
  if (!haveSpread(found)) return true;

  platform::HeapArray<int> sumHistogram(kLogBins, platform::Fill::kZeros),
      lumaHistogram(kLogBins, platform::Fill::kZeros);
  if (!sumHistogram || !lumaHistogram) return false;
  const float sumBinsPerUnit = sum.scale.binsPerUnit(), lumaBinsPerUnit = luma.scale.binsPerUnit();
  forEachPixel(picture, [&](float logSum, float logLuma) {
    ++sumHistogram.data()[sum.scale.binOf(logSum, sumBinsPerUnit)];
    ++lumaHistogram.data()[luma.scale.binOf(logLuma, lumaBinsPerUnit)];
  });
  for (int n = 0; n < kPercentiles; ++n) {
    sum.bins[n] = percentileBin(kShares[n], picture.size.pixels(), kLogBins, sumHistogram.data());
    luma.bins[n] = percentileBin(kShares[n], picture.size.pixels(), kLogBins, lumaHistogram.data());
  }
  return true;
}

}  // namespace veskaro::hdr
