// The simple operators of the pyramid: a coarse level is a subset of the fine pixels, and the fine level is kept as
// prediction minus difference (the lifting scheme, Sweldens 1996).
#include "pyramid/lift.h"

#include "VeskaroNRLib.h"
#include "platform/fp_environment.h"
#include "pyramid/lift_kernel.h"

namespace veskaro {

void lift(int wFine, int wCoarse, int hCoarse, const float* fine, float* coarse) {
  for (int j = 0; j < hCoarse; ++j) {
    const float* from = fine + levelSamples(wFine, 2 * j);
    for (int i = 0; i < wCoarse; ++i, from += 2 * kChannels, coarse += kChannels) {
      for (int k = 0; k < kChannels; ++k) coarse[k] = from[k];
    }
  }
}

void subtract(std::ptrdiff_t count, const float* minuend, const float* subtrahend, float* out) {
  std::ptrdiff_t k = vectors::subtract(count, minuend, subtrahend, out);
  for (; k < count; ++k) out[k] = minuend[k] - subtrahend[k];
}

namespace {

// Pixels of a level as the difference passes report them: the 32-bit product, 0 when it is not positive.
int reportedPixels(int w, int h) {
  const int product = static_cast<int>(static_cast<unsigned>(w) * static_cast<unsigned>(h));
  return w > 0 && h > 0 && product > 0 ? product : 0;
}

}  // namespace
}  // namespace veskaro

extern "C" {

int similarityLift(int wFine, int /*hFine*/, int wCoarse, int hCoarse, float* img, float* returnImg) {
  if (hCoarse < 1) return 0;
  veskaro::lift(wFine, wCoarse, hCoarse, img, returnImg);
  return hCoarse;
}

int differencePass(int wFine, int hFine, float* original, float* recon, float* highPass) {
  const veskaro::platform::DefaultFpEnvironment environment;
  const int pixels = veskaro::reportedPixels(wFine, hFine);
  veskaro::subtract(std::ptrdiff_t{pixels} * veskaro::kChannels, recon, original, highPass);
  return pixels;
}

int unDifferencePass(int wFine, int hFine, float* recon, float* highPass, float* composite) {
  const veskaro::platform::DefaultFpEnvironment environment;
  const int pixels = veskaro::reportedPixels(wFine, hFine);
  veskaro::subtract(std::ptrdiff_t{pixels} * veskaro::kChannels, recon, highPass, composite);
  return pixels;
}

}  // extern "C"
