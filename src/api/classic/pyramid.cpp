// The exported operators of the pyramid.
#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "pixels/distance.h"
#include "pixels/level.h"
#include "platform/fp_environment.h"
#include "pyramid/lift.h"
#include "pyramid/reconstruct.h"
#include "pyramid/similarity.h"

using namespace veskaro;

namespace {

// Pixels of a level as the difference passes count them: the 32-bit product of the sizes, two negative ones included,
// or 0 when it is not positive.
int pixelsOf(int w, int h) {
  const int product = static_cast<int>(static_cast<unsigned>(w) * static_cast<unsigned>(h));
  return (w > 0) == (h > 0) && product > 0 ? product : 0;
}

int subtractLevels(int w, int h, const float* minuend, const float* subtrahend, float* out) {
  const platform::DefaultFpEnvironment environment;
  const int count = pixelsOf(w, h);
  pyramid::subtract(std::ptrdiff_t{count} * pixels::kChannels, minuend, subtrahend, out);
  return count;
}

}  // namespace

extern "C" {

int similarityLift(int wFine, int /*hFine*/, int wCoarse, int hCoarse, float* img, float* returnImg) {
  if (hCoarse < 1) return 0;
  pyramid::lift(wFine, wCoarse, hCoarse, img, returnImg);
  return hCoarse;
}

int differencePass(int wFine, int hFine, float* original, float* recon, float* highPass) {
  return subtractLevels(wFine, hFine, recon, original, highPass);
}

int unDifferencePass(int wFine, int hFine, float* recon, float* highPass, float* composite) {
  return subtractLevels(wFine, hFine, recon, highPass, composite);
}

int similarityReconstruct(int wFine, int hFine, float* lifted, float* original, float* recon) {
  const platform::DefaultFpEnvironment environment;
  pyramid::reconstruct(wFine, hFine, lifted, original, recon, api::reconstructInForce());
  return wFine > 2 && hFine > 2 ? hFine - 1 : 0;
}

float reconDistanceSimilarity(float aR, float aG, float aB, float bR, float bG, float bB) {
  return pyramid::similarityOf(pixels::colourDistance(aR - bR, aG - bG, aB - bB), api::reconstructInForce());
}

float getDistance(int positA, int positB, float* img) {
  return pixels::colourDistance(img + positA, img + positB);
}

}  // extern "C"
