#ifndef VESKARO_FILTERS_NEIGHBOUR_WEIGHTS_H
#define VESKARO_FILTERS_NEIGHBOUR_WEIGHTS_H

namespace veskaro::filters {

constexpr int kReach = 2;              // both filters look two pixels far in every direction
constexpr int kSpan = 2 * kReach + 1;  // rows and columns of the window that they look at

// The pixels that count as a patch around one: a distance between two pixels may be one between their patches in part
// (non-local means; Buades, Coll, Morel 2005), which is surer where a pixel alone is noisy.
constexpr int kPatchReach = 1;

// distance = own * that of the pixels + ofSum * the sum of the nine distances of the patches' pixels.
struct PatchShares {
  float own, ofSum;

  explicit constexpr PatchShares(float patch) : own(1.0f - patch), ofSum(patch * 0.111111112f) {}
};

// Weight of each neighbour by row and column offset from -2 to +2:
//
//     A B C B A
//     B F G F B       A 0.1   B 0.3   C 0.5
//     C G . G C       F 0.7   G 1.0
//     B F G F B
//     A B C B A
constexpr float kWeightA = 0.1f;
constexpr float kWeightB = 0.3f;
constexpr float kWeightC = 0.5f;
constexpr float kWeightF = 0.7f;
constexpr float kWeightG = 1.0f;

constexpr float kNeighbourWeight[kSpan][kSpan] = {
    {kWeightA, kWeightB, kWeightC, kWeightB, kWeightA}, {kWeightB, kWeightF, kWeightG, kWeightF, kWeightB},
    {kWeightC, kWeightG, 0.0f, kWeightG, kWeightC},     {kWeightB, kWeightF, kWeightG, kWeightF, kWeightB},
    {kWeightA, kWeightB, kWeightC, kWeightB, kWeightA},
};

// The falling slope of the sharpening weight belongs to the neighbour's own class but for the two straight above and
// below at distance two, whose slope is that of class B.
constexpr float sharpeningSlopeWeight(int dx, int dy) {
  return dx == 0 && (dy == -2 || dy == 2) ? kWeightB : kNeighbourWeight[dy + kReach][dx + kReach];
}

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_NEIGHBOUR_WEIGHTS_H
