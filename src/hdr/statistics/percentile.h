// The percentile of a histogram.
#ifndef VESKARO_HDR_STATISTICS_PERCENTILE_H
#define VESKARO_HDR_STATISTICS_PERCENTILE_H

#include <cstddef>
#include <cstdint>

namespace veskaro::hdr {

// The share of a number of values as a count, truncated. False when no running sum can exceed it.
bool percentileRank(float share, std::size_t values, std::uint64_t* rank);

// The first bin at which the running sum of the histogram exceeds the rank, or the number of bins.
int percentileBin(float share, std::size_t values, int bins, const int* histogram);

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_STATISTICS_PERCENTILE_H
