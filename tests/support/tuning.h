// Sets the process-wide tuning for a test.
#ifndef VESKARO_TESTS_SUPPORT_TUNING_H
#define VESKARO_TESTS_SUPPORT_TUNING_H

#include <utility>
#include <vector>

#include "VeskaroNRLib.h"

namespace veskaro::test {

using ParamChanges = std::vector<std::pair<int, float>>;

inline std::vector<float> defaultParams(const ParamChanges& changes = {}) {
  std::vector<float> params(NR_PARAM_COUNT);
  nr_def(params.data());
  for (const auto& [index, value] : changes) params[static_cast<std::size_t>(index)] = value;
  return params;
}

// The tuning that the defaults give, but for the changes.
inline void tune(const ParamChanges& changes = {}) {
  calcParams(defaultParams(changes).data());
  reconSimilarityThreshold = 10.0f;
  reconSimilarityRolloff = 50.0f;
}

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_TUNING_H
