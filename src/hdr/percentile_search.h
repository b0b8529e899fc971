// The percentiles of a picture without a logarithm per pixel. The logarithm is monotone, so the bin of a percentile is
// the bin of one order statistic of the values themselves, which is searched for by counting.
#ifndef VESKARO_HDR_PERCENTILE_SEARCH_H
#define VESKARO_HDR_PERCENTILE_SEARCH_H

#include "hdr/log_scale.h"
#include "hdr/planes.h"
#include "hdr/statistics_kernel.h"

namespace veskaro {

// One quantity's range and the bins of its percentiles.
struct LogPercentiles {
  LogScale scale;
  int bins[kPercentiles];
};

// ranks: how many values a percentile must exceed. Returns NR_OK, NR_ERROR_STATISTICS when a quantity has no spread
// (the bins are not found then), NR_ERROR_MEMORY, or kNotTaken when there are no vectors to count with.
int searchPercentiles(const PictureSize& size, const unsigned char* picture, const std::uint64_t (&ranks)[kPercentiles],
                      LogPercentiles (&found)[kQuantities]);

}  // namespace veskaro

#endif  // VESKARO_HDR_PERCENTILE_SEARCH_H
