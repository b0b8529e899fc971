// What Highway's own library would say, where its headers are used without it: which instruction sets the processor
// has.
#include <hwy/highway.h>

#include <cstdint>

namespace hwy {
namespace {

std::int64_t forTest = 0;

#if HWY_ARCH_X86
std::int64_t ofProcessor() {
  const auto all = [](auto... has) { return (... && (has != 0)); };
  const auto onlyIf = [](bool has, std::int64_t target) { return has ? target : 0; };
  const bool ssse3 = all(__builtin_cpu_supports("ssse3"));
  const bool sse4 = ssse3 && all(__builtin_cpu_supports("sse4.1"), __builtin_cpu_supports("sse4.2"),
                                 __builtin_cpu_supports("pclmul"), __builtin_cpu_supports("aes"));
  // Who has these has F16C too, which not every compiler can ask for.
  const bool avx2 = sse4 && all(__builtin_cpu_supports("avx2"), __builtin_cpu_supports("fma"),
                                __builtin_cpu_supports("bmi"), __builtin_cpu_supports("bmi2"));
  const bool avx3 = avx2 && all(__builtin_cpu_supports("avx512f"), __builtin_cpu_supports("avx512vl"),
                                __builtin_cpu_supports("avx512dq"), __builtin_cpu_supports("avx512bw"));
  return onlyIf(ssse3, HWY_SSSE3) | onlyIf(sse4, HWY_SSE4) | onlyIf(avx2, HWY_AVX2) | onlyIf(avx3, HWY_AVX3);
}
#else
// What may be compiled for an architecture, all its processors have (cmake/Highway.cmake).
std::int64_t ofProcessor() {
  return HWY_TARGETS;
}
#endif

}  // namespace

std::int64_t SupportedTargets() {
  return forTest != 0 ? forTest : ofProcessor() | HWY_SCALAR | HWY_EMU128;
}

void SetSupportedTargetsForTest(std::int64_t targets) {
  forTest = targets;
}

ChosenTarget& GetChosenTarget() {
  static ChosenTarget chosen;
  return chosen;
}

}  // namespace hwy
