#ifndef VESKARO_PARAMS_RANKING_H
#define VESKARO_PARAMS_RANKING_H

namespace veskaro {

// Fills order with the indices 0 .. count - 1 in ascending order of key, equal keys in ascending order of index.
// Returns count, or 0 with the indices in their own order when memory is exhausted. A count below 1 does nothing.
int rankInts(int count, const int* keys, int* order);
int rankFloats(int count, const float* keys, int* order);

// The same for the lowest of the keys only, none of which may be not-a-number: the rest of order is in no order.
void rankLowest(int lowest, int count, const float* keys, int* order);

}  // namespace veskaro

#endif  // VESKARO_PARAMS_RANKING_H
