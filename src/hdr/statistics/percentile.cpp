#include "hdr/statistics/percentile.h"

namespace veskaro::hdr {

bool percentileRank(float share, std::size_t values, std::uint64_t* rank) {
  const float target = share * static_cast<float>(values);
  constexpr float kUnsignedLimit = 18446744073709551616.0f;
  if (!(target < kUnsignedLimit)) return false;  // or not a number
  *rank = target > 0.0f ? static_cast<std::uint64_t>(target) : 0;
  return true;
}

int percentileBin(float share, std::size_t values, int bins, const int* histogram) {
  if (bins < 1) return 0;
  std::uint64_t rank;
  if (!percentileRank(share, values, &rank)) return bins;
  std::uint64_t sum = 0;
  for (int i = 0; i < bins; ++i) {
    sum += static_cast<std::uint64_t>(static_cast<std::int64_t>(histogram[i]));
    if (sum > rank) return i;
  }
  return bins;
}

}  // namespace veskaro::hdr
