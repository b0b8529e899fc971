// Which blocks may still become candidates while a picture comes in pieces.
#ifndef VESKARO_MEASURE_SMOOTHEST_H
#define VESKARO_MEASURE_SMOOTHEST_H

#include "measure/selection.h"

namespace veskaro::measure {

// The median that will split the blocks is not known before the last piece. But a shadow candidate of average a is
// among the 32 smoothest of all blocks below some median above a, so among those of averages up to a; a highlight
// candidate likewise among those from a on. Both bounds only fall as blocks come.
class SmoothestBlocks {
 public:
  SmoothestBlocks();

  void add(int average, float deviation) { of_[average].add(deviation); }

  // Brings the bounds up to date with what has been added.
  void settle();
  bool mayBecomeCandidate(int average, float deviation) const {
    return deviation <= upTo_[average] || deviation <= from_[average];
  }

 private:
  static constexpr int kAverages = 256;

  // The lowest deviations, ascending.
  struct Lowest {
    int count = 0;
    float values[kMostOfHalf];

    void add(float deviation);
    void add(const Lowest& other);
    float bound() const;
  };

  Lowest of_[kAverages];
  float upTo_[kAverages], from_[kAverages];
};

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_SMOOTHEST_H
