// The range of one measured logarithm and its 65536 bins: 65535 steps on the way in, 65536 on the way back.
#ifndef VESKARO_HDR_STATISTICS_LOG_SCALE_H
#define VESKARO_HDR_STATISTICS_LOG_SCALE_H

#include <algorithm>
#include <limits>

namespace veskaro::hdr {

constexpr int kLogBins = 65536;

class LogScale {
 public:
  void extend(float logValue) {
    min_ = std::min(min_, logValue);
    max_ = std::max(max_, logValue);
  }
  // Also false when a value was beyond the float range.
  bool hasSpread() const { return min_ < max_ && max_ < std::numeric_limits<float>::infinity(); }

  float binsPerUnit() const { return 65535.0f / (max_ - min_); }
  int binOf(float logValue, float binsPerUnit) const {
    return std::clamp(static_cast<int>((logValue - min_) * binsPerUnit), 0, kLogBins - 1);
  }
  float valueOf(int bin) const { return static_cast<float>(bin) * ((max_ - min_) * 1.52587890625e-05f) + min_; }
  double range() const { return static_cast<double>(max_) - static_cast<double>(min_); }

 private:
  // A picture that is uniform and below 1 has spread all the same: its maximum stays 0.
  float min_ = 1e9f;
  float max_ = 0.0f;
};

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_STATISTICS_LOG_SCALE_H
