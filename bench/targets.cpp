#include "targets.h"

#include <hwy/highway.h>

#include <algorithm>

namespace veskaro::bench {

std::vector<Target> targets() {
  std::vector<Target> all;
  for (const std::int64_t id : hwy::SupportedAndGeneratedTargets()) {
    if (id != HWY_STATIC_TARGET) all.push_back({id, hwy::TargetName(id)});
  }
  all.push_back({HWY_STATIC_TARGET, "plain"});
  std::reverse(all.begin(), all.end());
  return all;
}

void runOn(const Target& target) {
  hwy::SetSupportedTargetsForTest(target.id);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace veskaro::bench
