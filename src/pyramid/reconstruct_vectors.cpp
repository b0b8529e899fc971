// The vector form of the prediction for hosts' interleaved levels, compiled once for every instruction set.
#include "pyramid/reconstruct_vectors.h"

#include "pixels/level.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pyramid/reconstruct_vectors.cpp"
#include <hwy/foreach_target.h>

#include "pixels/level_image-inl.h"
#include "pyramid/reconstruct_row-inl.h"
#include "simd/scratch.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::pyramid::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
using simd::VectorResult;
#if VESKARO_HAS_VECTORS

struct ReconstructScratch {
  ReconstructScratch(simd::Arena* arena, int w)
      : guide(arena, w),
        row(arena, simd::Pitch(w + 4 * simd::kMaxLanes)),
        coarse(arena, simd::Pitch(pixels::coarseSize(w) + 4 * simd::kMaxLanes)) {}
  GuideRing guide;
  simd::Ring<1, 3> row;     // a guide row as it is loaded, then the result
  simd::Ring<2, 3> coarse;  // the coarse rows above and below
};

void reconstructInterleaved(int w, int h, const InterleavedImage& coarse, const InterleavedImage& guide,
                            const InterleavedImage& result, ReconstructScratch& scratch,
                            const params::ReconstructSettings& s) {
  const int pairs = pixels::coarseSize(w);
  const simd::Rows row = scratch.row.at(0).rows();
  const auto coarseRow = [&](int y) { return scratch.coarse.at(y).rows(); };
  const auto loadGuide = [&](int y) {
    guide.load(0, y, w, row);
    scratch.guide.split(y, row, 0, pairs);
  };
  loadGuide(0);
  loadGuide(1);
  coarse.load(0, 0, pairs, coarseRow(0));
  for (int y = 1; y < h - 1; ++y) {
    loadGuide(y + 1);
    const int above = y / 2;
    const int below = (y + 1) / 2;
    if (below > above) coarse.load(0, below, pairs, coarseRow(below));
    reconstructRow<Predict>(scratch.guide, y, coarseRow(above), coarseRow(below), row, 0, pairs, s);
    result.store(row + 1, 1, y, w - 2);
  }
}

VectorResult reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                         const params::ReconstructSettings& s) {
  if (w < 3 || h < 3) return VectorResult::kDone;
  simd::Scratch<ReconstructScratch> scratch(w);
  if (!scratch) return VectorResult::kNoMemory;
  const std::ptrdiff_t fineRow = pixels::levelSamples(w, 1);
  const std::ptrdiff_t coarseRow = pixels::levelSamples(pixels::coarseSize(w), 1);
  reconstructInterleaved(w, h, {const_cast<float*>(coarse), coarseRow}, {const_cast<float*>(guide), fineRow},
                         {result, fineRow}, *scratch, s);
  return VectorResult::kDone;
}

#else

VectorResult reconstruct(int, int, const float*, const float*, float*, const params::ReconstructSettings&) {
  return VectorResult::kPlainFormNeeded;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::pyramid::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace veskaro::pyramid {
namespace {
HWY_EXPORT(reconstruct);
}  // namespace

simd::VectorResult vectors::reconstruct(int w, int h, const float* coarse, const float* guide, float* result,
                                        const params::ReconstructSettings& s) {
  return HWY_DYNAMIC_DISPATCH(reconstruct)(w, h, coarse, guide, result, s);
}

}  // namespace veskaro::pyramid
#endif  // HWY_ONCE
