#include "hdr/smooth_line.h"

#include "VeskaroNRLib.h"
#include "host/fp_environment.h"

namespace veskaro {

std::ptrdiff_t mirroredIndex(std::ptrdiff_t k, std::ptrdiff_t size) {
  if (size < 2) return 0;
  const std::ptrdiff_t period = 2 * (size - 1);
  const std::ptrdiff_t folded = (k < 0 ? -k : k) % period;
  return folded < size ? folded : period - folded;
}

void smoothLine(float* temp, const PlaneSample* base, std::ptrdiff_t step, int size, int spacing) {
  const std::ptrdiff_t n = size, sc = spacing;
  const auto x = [base, step](std::ptrdiff_t k) -> float { return base[k * step]; };
  const auto mirrored = [&](std::ptrdiff_t i) {
    return (x(mirroredIndex(i + sc, n)) + x(mirroredIndex(i - sc, n))) + (x(i) + x(i));
  };
  std::ptrdiff_t i = 0;
  const std::ptrdiff_t interior = sc < 0 ? n : sc;
  for (; i < n && i < interior; ++i) temp[i] = mirrored(i);
  for (; i < n && i + sc < n; ++i) temp[i] = (x(i - sc) + x(i + sc)) + (x(i) + x(i));
  for (; i < n; ++i) temp[i] = mirrored(i);
}

}  // namespace veskaro

extern "C" void smooth_line(float* temp, float* base, int st, int size, int sc) {
  const veskaro::DefaultFpEnvironment environment;
  veskaro::smoothLine(temp, base, st, size, sc);
}
