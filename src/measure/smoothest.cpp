#include "measure/smoothest.h"

#include <limits>

namespace veskaro::measure {

void SmoothestBlocks::Lowest::add(float deviation) {
  if (count == kMostOfHalf && deviation >= values[count - 1]) return;
  int at = count < kMostOfHalf ? count++ : count - 1;
  for (; at > 0 && values[at - 1] > deviation; --at) values[at] = values[at - 1];
  values[at] = deviation;
}

float SmoothestBlocks::Lowest::bound() const {
  return count < kMostOfHalf ? std::numeric_limits<float>::infinity() : values[count - 1];
}

void SmoothestBlocks::settle() {
  const auto accumulate = [this](Lowest* all, int average) {
    const Lowest& own = of_[average];
    for (int k = 0; k < own.count; ++k) all->add(own.values[k]);
    return all->bound();
  };
  Lowest darker, brighter;
  for (int a = 0; a < kAverages; ++a) upTo_[a] = accumulate(&darker, a);
  for (int a = kAverages - 1; a >= 0; --a) from_[a] = accumulate(&brighter, a);
}

}  // namespace veskaro::measure
