// How much of a block is structure: what tells the smoothest.
#ifndef VESKARO_MEASURE_HAAR_STRUCTURE_H
#define VESKARO_MEASURE_HAAR_STRUCTURE_H

#include "measure/haar/haar_block.h"

namespace veskaro::measure {

// How much less noise white has than black in what is displayed; square roots of linear light have the same everywhere.
constexpr float kHighlightFall = 0.3f;

// Factor on a block's energies that evens out noise over brightness.
inline double evenFactor(const HaarBlock& b, pixels::Encoding encoding) {
  if (encoding == pixels::Encoding::kLinear) return 1.0;
  const double share = static_cast<double>(b.luma) / 255.0;
  const double model = 1.0 - static_cast<double>(kHighlightFall) * (share > 0.0 ? (share < 1.0 ? share : 1.0) : 0.0);
  return 1.0 / (model * model);
}

// The straight details' energy, as it is. Structure shows in luminance first.
inline double structureOf(const HaarBlock& b) {
  constexpr double kWeight[kChannels] = {0.5, 0.125, 0.125};
  double structure = 0.0;
  for (int c = 0; c < kChannels; ++c) {
    for (int s = 0; s < kStructureScales; ++s) structure += kWeight[c] * static_cast<double>(b.straight[s][c]);
  }
  return structure;
}

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_HAAR_STRUCTURE_H
