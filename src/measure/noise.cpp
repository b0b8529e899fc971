// What a measurement tells once blocks have been seen.
#include <algorithm>
#include <cmath>

#include "measure/measurement.h"

namespace veskaro::measure {
namespace {

void finish(Noise* noise) {
  noise->decision = decide(noise->evenedOut, noise->candidates.count());
  noise->statistic = noise->decision.statistic;
  noise->reason = noise->usable == 0       ? Reason::kNoUsableBlock
                  : noise->decision.isMade ? Reason::kMeasured
                                           : Reason::kNoContrast;
}

// The mean square root below which 99 % of the blocks lie; 1 where all is black, or too dark or bright for its square,
// the linear scale, to be a float of full precision.
float whiteRoot(const BlockTable& table, float* roots) {
  std::size_t count = 0;
  for (std::int64_t block = 0; block < table.count(); ++block) {
    if (table[block].isSeen()) roots[count++] = table[block].root;
  }
  if (count == 0) return 1.0f;
  float* const at = roots + (count - 1) * 99 / 100;
  std::nth_element(roots, at, roots + count);
  return *at > 0.0f && std::isnormal(*at * *at) ? *at : 1.0f;
}

}  // namespace

bool Measurement::noise(Noise* noise) const {
  *noise = Noise();
  noise->seen = seen_;
  platform::HeapArray<UsableBlock> usable(static_cast<std::size_t>(seen_), platform::Fill::kNothing);
  if (!usable) return false;
  const bool isLinear = encoding_ == pixels::Encoding::kLinear;
  if (!isLinear) {
    noiseOfDisplay(usable.data(), noise);
  } else if (!noiseOfLinear(usable.data(), noise)) {
    return false;
  }
  return noiseByScale(haarBlocks_, encoding_, isLinear ? 255.0f / noise->whiteRoot : 1.0f, &noise->byScale);
}

// Those of a picture of display values; returns their number.
std::size_t Measurement::listUsable(UsableBlock* usable) const {
  std::size_t count = 0;
  for (std::int64_t block = 0; block < table_.count(); ++block) {
    const BlockRecord& r = table_[block];
    if (r.isSeen() && isUsable(r.average)) usable[count++] = {evenedOut(r.sparse, r.average), r.average, block};
  }
  return count;
}

void Measurement::noiseOfDisplay(UsableBlock* usable, Noise* noise) const {
  const std::size_t count = listUsable(usable);
  noise->usable = static_cast<std::int64_t>(count);
  noise->candidates = selectCandidates(usable, count);
  for (int k = 0; k < noise->candidates.count(); ++k) {
    const UsableBlock& candidate = noise->candidates.blocks[k];
    noise->evenedOut[k] = evenedOut(table_[candidate.index].dense, candidate.average);
  }
  finish(noise);
}

// Square roots have the same noise at every brightness, and no white that clips.
bool Measurement::noiseOfLinear(UsableBlock* usable, Noise* noise) const {
  platform::HeapArray<float> roots(static_cast<std::size_t>(seen_), platform::Fill::kNothing);
  if (!roots) return false;
  const float white = noise->whiteRoot = whiteRoot(table_, roots.data());
  noise->linearScale = white * white;
  std::size_t count = 0;
  for (std::int64_t block = 0; block < table_.count(); ++block) {
    const BlockRecord& r = table_[block];
    if (!r.isSeen() || !isUsableLinear(r, white)) continue;
    usable[count++] = {r.dense / white * 255.0f, brightnessOf(r, white), block};
  }
  noise->usable = static_cast<std::int64_t>(count);
  noise->candidates = selectCandidates(usable, count);
  for (int k = 0; k < noise->candidates.count(); ++k) noise->evenedOut[k] = noise->candidates.blocks[k].deviation;
  finish(noise);
  return true;
}

bool Measurement::isUsableLinear(const BlockRecord& linear, float whiteRoot) {
  constexpr int kLowest = 4;
  return linear.dense > 0.0f && brightnessOf(linear, whiteRoot) >= kLowest;
}

int Measurement::brightnessOf(const BlockRecord& linear, float whiteRoot) {
  return static_cast<int>(pixels::truncated(linear.root / whiteRoot * 255.0f, 255.0f));
}

}  // namespace veskaro::measure
