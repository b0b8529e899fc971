// Similarity-weighted interpolation of a fine level from a coarse one. The coarse pixels sit at the even rows and
// columns of the fine level (o); the others take the mean of two or four of them:
//
//     o  -  o        o: copy          -: horizontal
//     |  x  |        |: vertical      x: diagonal
//     o  -  o
#include "pyramid/reconstruct.h"

#include "pixels/distance.h"
#include "pixels/level.h"
#include "platform/ieee.h"
#include "pyramid/reconstruct_vectors.h"
#include "pyramid/similarity.h"

namespace veskaro::pyramid {
namespace {

using pixels::kChannels;
using pixels::levelSamples;

// One fine row: the guide's pixels and the coarse rows above and below (the same row on an even row).
struct FineRow {
  const float* guide;  // pixel 0 of the row
  std::ptrdiff_t guideRow;
  const float* coarseAbove;
  const float* coarseBelow;
  float* result;
  const params::ReconstructSettings& settings;

  float similarityTo(int x, int dx, int dy) const {
    const float* centre = guide + x * kChannels;
    return similarityOf(pixels::colourDistance(centre, centre + dy * guideRow + dx * kChannels), settings);
  }
};

// What a fine pixel takes of the coarse pixels around it. above and below point at a sample of the left ones, in the
// coarse rows above and below.
struct CopyWeights {
  float of(const float* above, const float* /*below*/) const { return above[0]; }
};

struct HorizontalWeights {
  float left, right;

  float of(const float* above, const float* /*below*/) const { return above[kChannels] * right + above[0] * left; }
};

struct VerticalWeights {
  float top, bottom;

  float of(const float* above, const float* below) const { return below[0] * bottom + above[0] * top; }
};

struct DiagonalWeights {
  float topLeft, topRight, bottomLeft, bottomRight;

  float of(const float* above, const float* below) const {
    const float upper = above[kChannels] * topRight + above[0] * topLeft;
    const float three = upper + below[0] * bottomLeft;
    return three + below[kChannels] * bottomRight;
  }
};

HorizontalWeights horizontalWeights(const FineRow& row, int x) {
  const float leftSim = row.similarityTo(x, -1, 0);
  const float rightSim = row.similarityTo(x, +1, 0);
  const float right = rightSim > kMinimumSimilarity ? rightSim : kMinimumSimilarity;
  const float left = kMinimumSimilarity > leftSim ? kMinimumSimilarity : leftSim;
  const float sum = right + left;
  return {left / sum, right / sum};
}

VESKARO_MAY_DIVIDE_BY_ZERO VerticalWeights verticalWeights(const FineRow& row, int x) {
  const float topSim = row.similarityTo(x, 0, -1);
  const float bottomSim = row.similarityTo(x, 0, +1);
  if (topSim == 0.0f && bottomSim == 0.0f) return {0.5f, 0.5f};
  const float sum = bottomSim + topSim;
  return {topSim / sum, bottomSim / sum};
}

VESKARO_MAY_DIVIDE_BY_ZERO DiagonalWeights diagonalWeights(const FineRow& row, int x) {
  const float topLeft = row.similarityTo(x, -1, -1);
  const float topRight = row.similarityTo(x, +1, -1);
  const float bottomLeft = row.similarityTo(x, -1, +1);
  const float bottomRight = row.similarityTo(x, +1, +1);
  if (topLeft == 0.0f && topRight == 0.0f && bottomLeft == 0.0f && bottomRight == 0.0f) {
    return {0.25f, 0.25f, 0.25f, 0.25f};
  }
  const float inverse = 1.0f / (((topRight + topLeft) + bottomLeft) + bottomRight);
  return {topLeft * inverse, topRight * inverse, bottomLeft * inverse, bottomRight * inverse};
}

template <class Weights>
void storePixel(const FineRow& row, const Weights& weights, int x) {
  const float* const above = row.coarseAbove + (x / 2) * kChannels;
  const float* const below = row.coarseBelow + (x / 2) * kChannels;
  for (int k = 0; k < kChannels; ++k) row.result[x * kChannels + k] = weights.of(above + k, below + k);
}

void reconstructEvenRow(const FineRow& row, int w) {
  for (int x = 2; x < w - 1; x += 2) storePixel(row, CopyWeights(), x);
  for (int x = 1; x < w - 1; x += 2) storePixel(row, horizontalWeights(row, x), x);
}

void reconstructOddRow(const FineRow& row, int w) {
  for (int x = 2; x < w - 1; x += 2) storePixel(row, verticalWeights(row, x), x);
  for (int x = 1; x < w - 1; x += 2) storePixel(row, diagonalWeights(row, x), x);
}

}  // namespace

void plain::reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                        const params::ReconstructSettings& s) {
  const std::ptrdiff_t fineRow = levelSamples(w, 1);
  const std::ptrdiff_t coarseRow = levelSamples(pixels::coarseSize(w), 1);
  for (int y = 1; y < h - 1; ++y) {
    const bool isEven = y % 2 == 0;
    const float* above = coarse + (y / 2) * coarseRow;
    const FineRow row = {guide + y * fineRow,  fineRow, above, isEven ? above : above + coarseRow,
                         result + y * fineRow, s};
    isEven ? reconstructEvenRow(row, w) : reconstructOddRow(row, w);
  }
}

void reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                 const params::ReconstructSettings& s) {
  if (vectors::reconstruct(w, h, coarse, guide, result, s) == simd::VectorResult::kDone) return;
  plain::reconstruct(w, h, coarse, guide, result, s);
}

}  // namespace veskaro::pyramid
