// Similarity-weighted interpolation of a fine level from a coarse one. The coarse pixels sit at the even rows and
// columns of the fine level (o); the others take the mean of two or four of them:
//
//     o  -  o        o: copy          -: horizontal
//     |  x  |        |: vertical      x: diagonal
//     o  -  o
#include "pyramid/reconstruct.h"

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "platform/fp_environment.h"
#include "platform/ieee.h"
#include "pyramid/lift.h"
#include "pyramid/reconstruct_kernel.h"
#include "pyramid/similarity.h"

namespace veskaro {
namespace {

constexpr float kMinimumSimilarity = 0.01f;

// One fine row: the guide's pixels and the coarse rows above and below (the same row on an even row).
struct FineRow {
  const float* guide;  // pixel 0 of the row
  std::ptrdiff_t guideRow;
  const float* coarseAbove;
  const float* coarseBelow;
  float* result;
  const params::ReconstructSettings& settings;

  float similarity(int x, int dx, int dy) const {
    const float* centre = guide + x * kChannels;
    return similarityOf(pixelDistance(centre, centre + dy * guideRow + dx * kChannels), settings);
  }
};

void copyPixel(const FineRow& row, int x) {
  const float* from = row.coarseAbove + (x / 2) * kChannels;
  for (int k = 0; k < kChannels; ++k) row.result[x * kChannels + k] = from[k];
}

void interpolateHorizontally(const FineRow& row, int x) {
  const float leftSim = row.similarity(x, -1, 0);
  const float rightSim = row.similarity(x, +1, 0);
  const float modRightSim = rightSim > kMinimumSimilarity ? rightSim : kMinimumSimilarity;
  const float modLeftSim = kMinimumSimilarity > leftSim ? kMinimumSimilarity : leftSim;
  const float sum = modRightSim + modLeftSim;
  const float leftCoef = modLeftSim / sum;
  const float rightCoef = modRightSim / sum;
  const float* left = row.coarseAbove + ((x - 1) / 2) * kChannels;
  const float* right = left + kChannels;
  for (int k = 0; k < kChannels; ++k) row.result[x * kChannels + k] = right[k] * rightCoef + left[k] * leftCoef;
}

VESKARO_MAY_DIVIDE_BY_ZERO void interpolateVertically(const FineRow& row, int x) {
  const float topSim = row.similarity(x, 0, -1);
  const float bottomSim = row.similarity(x, 0, +1);
  float topCoef = 0.5f;
  float bottomCoef = 0.5f;
  if (!(topSim == 0.0f && bottomSim == 0.0f)) {
    const float sum = bottomSim + topSim;
    topCoef = topSim / sum;
    bottomCoef = bottomSim / sum;
  }
  const float* top = row.coarseAbove + (x / 2) * kChannels;
  const float* bottom = row.coarseBelow + (x / 2) * kChannels;
  for (int k = 0; k < kChannels; ++k) row.result[x * kChannels + k] = bottom[k] * bottomCoef + top[k] * topCoef;
}

VESKARO_MAY_DIVIDE_BY_ZERO void interpolateDiagonally(const FineRow& row, int x) {
  const float topLeftSim = row.similarity(x, -1, -1);
  const float topRightSim = row.similarity(x, +1, -1);
  const float bottomLeftSim = row.similarity(x, -1, +1);
  const float bottomRightSim = row.similarity(x, +1, +1);
  float topLeftCoef = 0.25f;
  float topRightCoef = 0.25f;
  float bottomLeftCoef = 0.25f;
  float bottomRightCoef = 0.25f;
  if (!(topLeftSim == 0.0f && topRightSim == 0.0f && bottomLeftSim == 0.0f && bottomRightSim == 0.0f)) {
    const float inv = 1.0f / (((topRightSim + topLeftSim) + bottomLeftSim) + bottomRightSim);
    topLeftCoef = topLeftSim * inv;
    topRightCoef = topRightSim * inv;
    bottomLeftCoef = bottomLeftSim * inv;
    bottomRightCoef = bottomRightSim * inv;
  }
  const float* topLeft = row.coarseAbove + ((x - 1) / 2) * kChannels;
  const float* bottomLeft = row.coarseBelow + ((x - 1) / 2) * kChannels;
  const float* topRight = topLeft + kChannels;
  const float* bottomRight = bottomLeft + kChannels;
  for (int k = 0; k < kChannels; ++k) {
    row.result[x * kChannels + k] =
        ((topRight[k] * topRightCoef + topLeft[k] * topLeftCoef) + bottomLeft[k] * bottomLeftCoef) +
        bottomRight[k] * bottomRightCoef;
  }
}

}  // namespace

void plain::reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                        const params::ReconstructSettings& s) {
  const std::ptrdiff_t fineRow = levelSamples(w, 1);
  const std::ptrdiff_t coarseRow = levelSamples(coarseSize(w), 1);
  for (int y = 1; y < h - 1; ++y) {
    const float* above = coarse + (y / 2) * coarseRow;
    const bool isEven = y % 2 == 0;
    const FineRow row = {guide + y * fineRow,  fineRow, above, isEven ? above : above + coarseRow,
                         result + y * fineRow, s};
    for (int x = 2; x < w - 1; x += 2) isEven ? copyPixel(row, x) : interpolateVertically(row, x);
    for (int x = 1; x < w - 1; x += 2) isEven ? interpolateHorizontally(row, x) : interpolateDiagonally(row, x);
  }
}

void reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                 const params::ReconstructSettings& s) {
  if (!vectors::reconstruct(w, h, coarse, guide, result, s)) plain::reconstruct(w, h, coarse, guide, result, s);
}

}  // namespace veskaro

extern "C" {

float getDistance(int positA, int positB, float* img) {
  return veskaro::pixelDistance(img + positA, img + positB);
}

float reconDistanceSimilarity(float aR, float aG, float aB, float bR, float bG, float bB) {
  return veskaro::similarityOf(veskaro::colourDistance(aR - bR, aG - bG, aB - bB), veskaro::api::reconstructInForce());
}

int similarityReconstruct(int wFine, int hFine, float* lifted, float* original, float* recon) {
  const veskaro::platform::DefaultFpEnvironment environment;
  veskaro::reconstruct(wFine, hFine, lifted, original, recon, veskaro::api::reconstructInForce());
  return wFine > 2 && hFine > 2 ? hFine - 1 : 0;
}

}  // extern "C"
