#include <cstdint>

#define HWY_TARGET_INCLUDE "support/targets.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace veskaro::test {
namespace HWY_NAMESPACE {

// Compiled once per target, so that a dispatched call tells which of the compiled forms it reaches.
std::int64_t compiledTarget() {
  return HWY_TARGET;
}

}  // namespace HWY_NAMESPACE
}  // namespace veskaro::test
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "support/targets.h"

namespace veskaro::test {
namespace {

HWY_EXPORT(compiledTarget);

// Where every processor has vectors, the plain form is compiled beside them.
constexpr std::int64_t kPlain =
    (HWY_TARGETS & (HWY_SCALAR | HWY_EMU128)) != 0 ? HWY_SCALAR | HWY_EMU128 : HWY_STATIC_TARGET;

std::string nameOf(std::int64_t id) {
  return (id & kPlain) != 0 ? "plain" : hwy::TargetName(id);
}

void force(std::int64_t targets) {
  hwy::SetSupportedTargetsForTest(targets);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace

std::vector<Target> runnableTargets() {
  std::vector<Target> targets;
  for (const std::int64_t id : hwy::SupportedAndGeneratedTargets()) {
    if ((id & kPlain) == 0) targets.push_back({id, nameOf(id)});
  }
  targets.push_back({kPlain, "plain"});
  return targets;
}

std::string chosenTarget() {
  return nameOf(HWY_DYNAMIC_DISPATCH(compiledTarget)());
}

ForcedTarget::ForcedTarget(const Target& target) {
  force(target.id);
}

ForcedTarget::~ForcedTarget() {
  force(0);
}

}  // namespace veskaro::test

#endif  // HWY_ONCE
