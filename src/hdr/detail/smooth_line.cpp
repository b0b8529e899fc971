#include "hdr/detail/smooth_line.h"

#include <algorithm>

namespace veskaro::hdr {

std::ptrdiff_t mirroredIndex(std::ptrdiff_t k, std::ptrdiff_t size) {
  if (size < 2) return 0;
  const std::ptrdiff_t period = 2 * (size - 1);
  const std::ptrdiff_t folded = (k < 0 ? -k : k) % period;
  return folded < size ? folded : period - folded;
}

namespace {

// sums[i] for i in [start, end). All taps lie inside the line.
void smoothInside(float* sums, const PlaneSample* base, std::ptrdiff_t step, std::ptrdiff_t start, std::ptrdiff_t end,
                  std::ptrdiff_t spacing) {
  for (std::ptrdiff_t i = start; i < end; ++i) {
    const PlaneSample* const x = base + i * step;
    sums[i] = (x[-spacing * step] + x[spacing * step]) + (x[0] + x[0]);
  }
}

// The ends mirrored, and inside(start, end) for the sums whose taps all lie inside the line.
template <class Inside>
void smoothWith(float* sums, const PlaneSample* base, std::ptrdiff_t step, std::ptrdiff_t size, std::ptrdiff_t spacing,
                const Inside& inside) {
  const auto x = [base, step](std::ptrdiff_t k) -> float { return base[k * step]; };
  const auto smoothMirrored = [&](std::ptrdiff_t from, std::ptrdiff_t to) {
    for (std::ptrdiff_t i = from; i < to; ++i) {
      sums[i] = (x(mirroredIndex(i + spacing, size)) + x(mirroredIndex(i - spacing, size))) + (x(i) + x(i));
    }
  };
  if (size < 1) return;
  if (spacing < 0) return smoothMirrored(0, size);
  const std::ptrdiff_t start = std::min(spacing, size);
  const std::ptrdiff_t end = std::max(start, size - spacing);
  smoothMirrored(0, start);
  inside(start, end);
  smoothMirrored(end, size);
}

void smoothContiguous(float* sums, const float* line, std::ptrdiff_t start, std::ptrdiff_t end,
                      std::ptrdiff_t spacing) {
  smoothInside(sums, line, 1, vectors::smoothInside(sums, line, start, end, spacing), end, spacing);
}

constexpr std::ptrdiff_t kLongestSpacing = 256;

// Inside part of a line with a step between its samples: gathered a piece at a time. spacing: up to kLongestSpacing.
void smoothGathered(float* sums, const float* base, std::ptrdiff_t step, std::ptrdiff_t start, std::ptrdiff_t end,
                    std::ptrdiff_t spacing) {
  constexpr std::ptrdiff_t kPiece = 1024;
  float piece[kPiece + 2 * kLongestSpacing];
  for (; start < end; start += kPiece) {
    const std::ptrdiff_t count = std::min(kPiece, end - start);
    for (std::ptrdiff_t k = 0; k < count + 2 * spacing; ++k) piece[k] = base[(start - spacing + k) * step];
    smoothContiguous(sums + start, piece + spacing, 0, count, spacing);
  }
}

}  // namespace

void smoothLine(float* sums, const PlaneSample* base, std::ptrdiff_t step, int size, int spacing) {
  smoothWith(sums, base, step, size, spacing,
             [&](std::ptrdiff_t start, std::ptrdiff_t end) { smoothInside(sums, base, step, start, end, spacing); });
}

void smoothAlignedLine(float* sums, const float* base, std::ptrdiff_t step, int size, int spacing) {
  smoothWith(sums, base, step, size, spacing, [&](std::ptrdiff_t start, std::ptrdiff_t end) {
    if (step == 1) {
      smoothContiguous(sums, base, start, end, spacing);
    } else if (spacing <= kLongestSpacing) {
      smoothGathered(sums, base, step, start, end, spacing);
    } else {
      smoothInside(sums, base, step, start, end, spacing);
    }
  });
}

}  // namespace veskaro::hdr
