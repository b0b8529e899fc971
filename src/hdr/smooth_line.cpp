#include "hdr/smooth_line.h"

#include <algorithm>

#include "VeskaroNRLib.h"
#include "hdr/smooth_line_kernel.h"
#include "platform/fp_environment.h"

namespace veskaro {

std::ptrdiff_t mirroredIndex(std::ptrdiff_t k, std::ptrdiff_t size) {
  if (size < 2) return 0;
  const std::ptrdiff_t period = 2 * (size - 1);
  const std::ptrdiff_t folded = (k < 0 ? -k : k) % period;
  return folded < size ? folded : period - folded;
}

namespace {

// The ends mirrored, and smoothInside(first, last) for the outputs whose taps all lie inside the line.
template <class SmoothInside>
void smoothWith(float* temp, const PlaneSample* base, std::ptrdiff_t step, std::ptrdiff_t size, std::ptrdiff_t spacing,
                const SmoothInside& smoothInside) {
  const auto x = [base, step](std::ptrdiff_t k) -> float { return base[k * step]; };
  const auto smoothMirrored = [&](std::ptrdiff_t from, std::ptrdiff_t to) {
    for (std::ptrdiff_t i = from; i < to; ++i) {
      temp[i] = (x(mirroredIndex(i + spacing, size)) + x(mirroredIndex(i - spacing, size))) + (x(i) + x(i));
    }
  };
  if (size < 1) return;
  if (spacing < 0) return smoothMirrored(0, size);
  const std::ptrdiff_t first = std::min(spacing, size);
  const std::ptrdiff_t last = std::max(first, size - spacing);
  smoothMirrored(0, first);
  smoothInside(first, last);
  smoothMirrored(last, size);
}

// Inside part of a line with a step between its samples: gathered a piece at a time, then in vectors.
class PiecewiseSmoother {
 public:
  static constexpr std::ptrdiff_t kLongestReach = 256;

  PiecewiseSmoother(float* temp, const float* base, std::ptrdiff_t step, std::ptrdiff_t spacing)
      : temp_(temp), base_(base), step_(step), spacing_(spacing) {}

  void smooth(std::ptrdiff_t first, std::ptrdiff_t last) {
    for (std::ptrdiff_t start = first; start < last; start += kPiece) {
      const std::ptrdiff_t count = std::min(kPiece, last - start);
      for (std::ptrdiff_t k = 0; k < count + 2 * spacing_; ++k) piece_[k] = base_[(start - spacing_ + k) * step_];
      smoothContiguous(temp_ + start, piece_ + spacing_, 0, count, spacing_);
    }
  }

  static void smoothContiguous(float* temp, const float* line, std::ptrdiff_t first, std::ptrdiff_t last,
                               std::ptrdiff_t spacing) {
    std::ptrdiff_t i = vectors::smoothInside(temp, line, first, last, spacing);
    for (; i < last; ++i) temp[i] = (line[i - spacing] + line[i + spacing]) + (line[i] + line[i]);
  }

 private:
  static constexpr std::ptrdiff_t kPiece = 1024;
  float* temp_;
  const float* base_;
  std::ptrdiff_t step_, spacing_;
  float piece_[kPiece + 2 * kLongestReach];
};

void smoothHostsLine(float* temp, const float* base, std::ptrdiff_t step, int size, std::ptrdiff_t spacing) {
  smoothWith(temp, base, step, size, spacing, [&](std::ptrdiff_t first, std::ptrdiff_t last) {
    if (step == 1) {
      PiecewiseSmoother::smoothContiguous(temp, base, first, last, spacing);
    } else {
      PiecewiseSmoother(temp, base, step, spacing).smooth(first, last);
    }
  });
}

}  // namespace

void smoothLine(float* temp, const PlaneSample* base, std::ptrdiff_t step, int size, int spacing) {
  const std::ptrdiff_t sc = spacing;
  smoothWith(temp, base, step, size, sc, [&](std::ptrdiff_t first, std::ptrdiff_t last) {
    for (std::ptrdiff_t i = first; i < last; ++i) {
      const PlaneSample* const x = base + i * step;
      temp[i] = (x[-sc * step] + x[sc * step]) + (x[0] + x[0]);
    }
  });
}

}  // namespace veskaro

extern "C" void smooth_line(float* temp, float* base, int st, int size, int sc) {
  const veskaro::platform::DefaultFpEnvironment environment;
  if (st == 1 || (sc >= 0 && sc <= veskaro::PiecewiseSmoother::kLongestReach)) {
    veskaro::smoothHostsLine(temp, base, st, size, sc);
  } else {
    veskaro::smoothLine(temp, base, st, size, sc);
  }
}
