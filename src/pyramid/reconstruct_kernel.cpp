// The vector form of the prediction for hosts' interleaved levels, compiled once for every instruction set.
#include "pyramid/reconstruct_kernel.h"

#include <cstdlib>

#include "pyramid/lift.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pyramid/reconstruct_kernel.cpp"
#include <hwy/foreach_target.h>

#include "pyramid/reconstruct-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

struct ReconstructScratch {
  ReconstructScratch(Arena* arena, int w)
      : guide(arena, w), row(arena, 1, w + 4 * kMaxLanes), coarse(arena, 2, coarseSize(w) + 4 * kMaxLanes) {}
  GuideRing guide;
  RowRing row;     // a guide row as it is loaded, then the result
  RowRing coarse;  // the coarse rows above and below
};

void reconstructInterleaved(int w, int h, const InterleavedImage& coarse, const InterleavedImage& guide,
                            const InterleavedImage& result, ReconstructScratch& scratch,
                            const params::ReconstructSettings& s) {
  const int pairs = coarseSize(w);
  const Rows row = scratch.row.at(0);
  const auto loadGuide = [&](int y) {
    guide.load(0, y, w, row);
    scratch.guide.split(y, row, 0, pairs);
  };
  loadGuide(0);
  loadGuide(1);
  coarse.load(0, 0, pairs, scratch.coarse.at(0));
  for (int y = 1; y < h - 1; ++y) {
    loadGuide(y + 1);
    const int above = y / 2;
    const int below = (y + 1) / 2;
    if (below > above) coarse.load(0, below, pairs, scratch.coarse.at(below));
    reconstructRow<Predict>(scratch.guide, y, scratch.coarse.at(above), scratch.coarse.at(below), row, 0, pairs, s);
    result.store(row + 1, 1, y, w - 2);
  }
}

bool reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                 const params::ReconstructSettings& s) {
  if (w < 3 || h < 3) return true;
  Arena measure(nullptr);
  const ReconstructScratch measured(&measure, w);
  auto* memory = static_cast<float*>(std::calloc(static_cast<std::size_t>(measure.needed()), sizeof(float)));
  if (memory == nullptr) return false;
  Arena arena(memory);
  ReconstructScratch scratch(&arena, w);
  reconstructInterleaved(w, h, {const_cast<float*>(coarse), levelSamples(coarseSize(w), 1)},
                         {const_cast<float*>(guide), levelSamples(w, 1)}, {result, levelSamples(w, 1)}, scratch, s);
  std::free(memory);
  return true;
}

#else

bool reconstruct(int, int, const float*, const float*, float*, const params::ReconstructSettings&) {
  return false;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro {
namespace {
HWY_EXPORT(reconstruct);
}  // namespace

bool vectors::reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                          const params::ReconstructSettings& s) {
  return HWY_DYNAMIC_DISPATCH(reconstruct)(w, h, coarse, guide, result, s);
}

}  // namespace veskaro
#endif  // HWY_ONCE
