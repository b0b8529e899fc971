// The exported steps of the level filters: one pixel or one neighbour.
#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "filters/edge_smooth.h"
#include "filters/noise_neighbour.h"
#include "filters/sharpen_neighbour.h"

using namespace veskaro;

extern "C" {

void NRgetSimilarity(float centerY, float centerBY, float centerRY, float simThreshold, float simRolloff,
                     float simInverseRolloff, float* cnv, float* finalWeight, int posit, float* img_Ybr, float* img_rgb,
                     float coef) {
  const float centre[3] = {centerY, centerBY, centerRY};
  filters::addNoiseNeighbour(centre, img_Ybr + posit, img_rgb + posit, coef,
                             {simThreshold, simInverseRolloff, simThreshold + simRolloff}, cnv, finalWeight);
}

void noiseTransferFunction(float r, float g, float b, float inThreshold, float inRolloff, float* newThreshold,
                           float* newRolloff) {
  const float scale = filters::noiseScaleAt({r, g, b}, params::highlightNoiseSlope(highnoiseLevelReduce));
  *newThreshold = inThreshold * scale;
  *newRolloff = inRolloff * scale;
}

void sharpSimilarityFromSimPixel(float simThreshold, float simRolloff, float /*simInverseThreshold*/,
                                 float /*simInverseRolloff*/, float* convolution, float* finalWeight, int positCenter,
                                 int positCur, float* img, float /*coef*/, float coefSimInverseThreshold,
                                 float coefSimInverseRolloff, float coefFULL_SIMILARITY) {
  filters::addSharpeningNeighbour(
      img + positCenter, img + positCur,
      {simThreshold, simThreshold + simRolloff, coefSimInverseThreshold, coefSimInverseRolloff, coefFULL_SIMILARITY},
      convolution, finalWeight);
}

float edgeSmoothCompareOpposingPoints(int positA, int positB, int positC, int positD, int positE, int positF,
                                      float noiseSize, float* img) {
  return filters::compareOpposingPaths(
      {img + positA, img + positB, img + positC, img + positD, img + positE, img + positF}, noiseSize);
}

float edgeSmoothInverseSimSum(int spp, int row, float* img, float /*edgeDthreshold*/, int posit, float noiseSize) {
  return filters::sumOverDirections(img + posit, spp, row, noiseSize);
}

}  // extern "C"
