// Percentiles of the log colour sum and the log luminance of a picture, and the six levels derived from them.
#ifndef VESKARO_HDR_STATISTICS_STATISTICS_H
#define VESKARO_HDR_STATISTICS_STATISTICS_H

#include "hdr/rgbe/rgbe.h"

namespace veskaro::hdr {

struct HdrStatistics {
  float sumShadows;        // a quarter of the way from the median of the log colour sum down to its 1st percentile
  float sumSaturation;     // half way from the median up to the 99th percentile
  float luminanceShadows;  // mean of the 1st percentile and the median of the log luminance
  float luminanceMedian;
  float luminance99;
  float luminanceThreshold;
};

// Returns NR_OK, NR_ERROR_STATISTICS for a picture without spread or with values beyond the float range, or
// NR_ERROR_MEMORY; statistics is written on success only. Without spread nothing is allocated.
int measurePicture(const ConstPicture& picture, float initialThreshold, HdrStatistics* statistics);

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_STATISTICS_STATISTICS_H
