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

// The lowest of both, which are ascending.
void SmoothestBlocks::Lowest::add(const Lowest& other) {
  const Lowest own = *this;
  count = 0;
  for (int i = 0, k = 0; count < kMostOfHalf && (i < own.count || k < other.count);) {
    const bool isOwn = k == other.count || (i < own.count && own.values[i] <= other.values[k]);
    values[count++] = isOwn ? own.values[i++] : other.values[k++];
  }
}

SmoothestBlocks::SmoothestBlocks() {
  settle();
}

void SmoothestBlocks::settle() {
  Lowest darker, brighter;
  for (int a = 0; a < kAverages; ++a) {
    darker.add(of_[a]);
    upTo_[a] = darker.bound();
  }
  for (int a = kAverages - 1; a >= 0; --a) {
    brighter.add(of_[a]);
    from_[a] = brighter.bound();
  }
}

}  // namespace veskaro::measure
