#ifndef VESKARO_FILTERS_NEIGHBOUR_WEIGHTS_H
#define VESKARO_FILTERS_NEIGHBOUR_WEIGHTS_H

namespace veskaro::filters {

constexpr int kReach = 2;              // both filters look two pixels far in every direction
constexpr int kSpan = 2 * kReach + 1;  // rows and columns of the window that they look at

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
