#include "frei0r/steady_noise.h"

#include <algorithm>
#include <cmath>

namespace plugin {
namespace {

constexpr float kOtherNoise = 0.1f;  // change of the mean that is none of chance
constexpr float kMostAFrame = 0.01f;
constexpr float kTowardsMean = 0.2f;  // share of the way to the mean that a frame goes

constexpr float vnr_noise::*kValues[] = {
    &vnr_noise::level,  &vnr_noise::statistic, &vnr_noise::correlation,   &vnr_noise::blotches,      &vnr_noise::luma,
    &vnr_noise::chroma, &vnr_noise::structure, &vnr_noise::coarse_chroma, &vnr_noise::texture_guard,
};

// Everything that settings follow from, of both: a's may be changed.
template <typename Function>
void forEachPair(vnr_noise& a, const vnr_noise& b, const Function& function) {
  for (float vnr_noise::*value : kValues) function(a.*value, b.*value);
  for (int c = 0; c < 3; ++c) {
    function(a.sigma[c], b.sigma[c]);
    for (int f = 0; f < 64; ++f) function(a.spectrum[c][f], b.spectrum[c][f]);
  }
}

bool isOther(float a, float b) {
  return std::fabs(a - b) > kOtherNoise * std::max(std::fabs(a), std::fabs(b));
}

// The measures of how strong the noise is.
bool isOtherNoise(const vnr_noise& a, const vnr_noise& b) {
  return isOther(a.level, b.level) || isOther(a.luma, b.luma) || isOther(a.chroma, b.chroma);
}

float nearer(float from, float to) {
  const float most = kMostAFrame * std::max(std::fabs(from), std::fabs(to));
  return from + std::clamp(kTowardsMean * (to - from), -most, most);
}

bool isKnown(const vnr_noise& noise) {
  return noise.reason == VNR_MEASURED && noise.grain != VNR_GRAIN_UNKNOWN;
}

}  // namespace

vnr_noise SteadyNoise::recentMean() const {
  const int n = std::min(count_, kRecent);
  vnr_noise mean = recent_[0];
  for (int i = 1; i < n; ++i) forEachPair(mean, recent_[i], [](float& sum, float value) { sum += value; });
  forEachPair(mean, mean, [n](float& value, float sum) { value = sum / static_cast<float>(n); });
  return mean;
}

void SteadyNoise::add(const vnr_noise& frame) {
  recent_[count_ % kRecent] = frame;
  // The counter stays small in clips of any length; only its remainder counts then.
  count_ = count_ + 1 < 4 * kRecent ? count_ + 1 : 3 * kRecent;
  mean_ = recentMean();
  isUnsure_ = isOtherNoise(current_, frame);
  if (count_ == 1 || (count_ >= kRecent && isOtherNoise(current_, mean_))) current_ = mean_;
}

void SteadyNoise::advance(const vnr_noise* frame) {
  sinceMeasured_ = frame != nullptr ? 0 : sinceMeasured_ + 1;
  if (frame != nullptr && isKnown(*frame)) add(*frame);
  if (frame != nullptr && count_ == 0) current_ = *frame;  // the scene's next known frame is its first
  if (count_ > 0) forEachPair(current_, mean_, [](float& value, float to) { value = nearer(value, to); });
}

}  // namespace plugin
