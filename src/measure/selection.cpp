#include "measure/selection.h"

#include <algorithm>
#include <cmath>

namespace veskaro::measure {
namespace {

bool isSmoother(const UsableBlock& a, const UsableBlock& b) {
  if (a.deviation != b.deviation) return a.deviation < b.deviation;
  return a.index < b.index;
}

// Averages are bytes, so counting them spares the sort.
int medianAverage(const UsableBlock* blocks, std::size_t count) {
  std::size_t blocksWith[256] = {};
  for (std::size_t i = 0; i < count; ++i) ++blocksWith[blocks[i].average];
  int average = 0;
  for (std::size_t upTo = blocksWith[0]; upTo <= count / 2; upTo += blocksWith[average]) ++average;
  return average;
}

}  // namespace

Candidates selectCandidates(UsableBlock* blocks, std::size_t count) {
  Candidates candidates;
  if (count == 0) return candidates;
  const int median = candidates.median = medianAverage(blocks, count);
  UsableBlock* const end = blocks + count;
  UsableBlock* const highlights =
      std::partition(blocks, end, [median](const UsableBlock& b) { return b.average < median; });
  const auto smaller = std::min(highlights - blocks, end - highlights);
  const int perHalf = static_cast<int>(std::min<std::ptrdiff_t>(smaller, kMostOfHalf));
  std::partial_sort(blocks, blocks + perHalf, highlights, isSmoother);
  std::partial_sort(highlights, highlights + perHalf, end, isSmoother);
  candidates.perHalf = perHalf;
  std::copy_n(blocks, perHalf, candidates.blocks);
  std::copy_n(highlights, perHalf, candidates.blocks + perHalf);
  return candidates;
}

Decision decide(const float* evenedOut, int count) {
  int order[2 * kMostOfHalf];
  int measured = 0;
  for (int i = 0; i < count; ++i) {
    if (!std::isnan(evenedOut[i])) order[measured++] = i;
  }
  Decision decision;
  if (measured == 0) return decision;
  decision.isMade = true;
  decision.decidingCount = std::min(measured, kDeciding);
  std::partial_sort(order, order + decision.decidingCount, order + measured, [evenedOut](int a, int b) {
    return evenedOut[a] != evenedOut[b] ? evenedOut[a] < evenedOut[b] : a < b;
  });
  float sum = 0.0f;
  for (int i = 0; i < decision.decidingCount; ++i) sum += evenedOut[decision.deciding[i] = order[i]];
  decision.statistic = sum / static_cast<float>(decision.decidingCount);
  return decision;
}

}  // namespace veskaro::measure
