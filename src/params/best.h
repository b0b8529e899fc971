// From a noise measured by scale to the settings that gain most.
#ifndef VESKARO_PARAMS_BEST_H
#define VESKARO_PARAMS_BEST_H

namespace veskaro::params {

struct NoiseForBest {
  float luma;          // deviation of fine luminance details, of black
  float coarseChroma;  // of coarse colour details
  float structure;     // of the median block's middle luminance details, noise and picture
  float correlation;   // 0 white, 1 smoothed
  float blotches;      // 0 none, 1 blotches of colour
  bool isLinear;       // deviations of square roots of linear light
};

inline bool isBestStrength(float strength) {
  return strength >= 0.6f && strength <= 1.5f;
}

// Fills all entries of the parameter vector. Without noise they change nothing.
void setBest(const NoiseForBest& noise, float strength, float* vector);

}  // namespace veskaro::params

#endif  // VESKARO_PARAMS_BEST_H
