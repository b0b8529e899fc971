// The percentiles of the two logarithms that the statistics look at: log colour sum and log luminance.
#ifndef VESKARO_HDR_STATISTICS_LOG_PERCENTILES_H
#define VESKARO_HDR_STATISTICS_LOG_PERCENTILES_H

#include "hdr/rgbe/rgbe.h"
#include "hdr/statistics/log_scale.h"
#include "simd/vector_result.h"

namespace veskaro::hdr {

enum Quantity { kColourSum, kLuminance, kQuantities };
enum Percentile { kLowest, kMedian, kHighest, kPercentiles };

constexpr float kShares[kPercentiles] = {0.01f, 0.5f, 0.99f};

// One quantity's range and the bins of its percentiles.
struct LogPercentiles {
  float at(Percentile n) const { return scale.valueOf(bins[n]); }

  LogScale scale;
  int bins[kPercentiles];
};

inline bool haveSpread(const LogPercentiles (&quantities)[kQuantities]) {
  return quantities[kColourSum].scale.hasSpread() && quantities[kLuminance].scale.hasSpread();
}

// Whether both quantities have spread, values beyond the float range apart. Stops at the first evidence, which all but
// flat pictures give at once.
bool showsSpread(const ConstPicture& picture);

// Both forms leave the bins alone when a quantity has no spread.
namespace plain {

// Two passes: the extremes of the logarithms, then their histograms. False when there is no memory.
bool findPercentiles(const ConstPicture& picture, LogPercentiles (&found)[kQuantities]);

}  // namespace plain

namespace vectors {

// Without a logarithm per pixel. The logarithm is monotone, so the bin of a percentile is the bin of one order
// statistic of the values themselves, which is searched for by counting.
simd::VectorResult findPercentiles(const ConstPicture& picture, LogPercentiles (&found)[kQuantities]);

}  // namespace vectors
}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_STATISTICS_LOG_PERCENTILES_H
