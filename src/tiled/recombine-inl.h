// Per-target: the last steps of a tile's row, a lane a pixel: filtered floats to samples, and their blend with the
// input. The steps and their order are those of sample_io.cpp and recombine.cpp.
#if defined(VESKARO_TILED_RECOMBINE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_TILED_RECOMBINE_INL_H
#undef VESKARO_TILED_RECOMBINE_INL_H
#else
#define VESKARO_TILED_RECOMBINE_INL_H
#endif

#include <cstdint>

#include "params/settings.h"
#include "pixels/colour-inl.h"
#include "simd/planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
using simd::Rows;
using simd::RowsOf;
#if VESKARO_HAS_VECTORS

// How samples of a depth relate to the 8-bit working scale.
template <typename Sample>
struct SampleScale {
  static constexpr float kMost = sizeof(Sample) == 1 ? 255.0f : 65535.0f;
  static constexpr float kFromEightBit = sizeof(Sample) == 1 ? 1.0f : 256.0f;
  static constexpr float kToEightBit = sizeof(Sample) == 1 ? 1.0f : 0.00390625f;
};

template <typename Sample>
HWY_INLINE V loadSamples(const Sample* from) {
  const hn::Rebind<Sample, Floats> samples;
  const hn::RebindToSigned<Floats> ints;
  return hn::ConvertTo(Floats(), hn::PromoteTo(ints, hn::LoadU(samples, from)));
}

template <typename Sample>
HWY_INLINE VectorRgb loadSampleRgb(const RowsOf<Sample>& row, int x) {
  return {loadSamples(row.plane[0] + x), loadSamples(row.plane[1] + x), loadSamples(row.plane[2] + x)};
}

// Truncates towards zero into the range of the sample; not a number gives 0.
template <typename Sample>
HWY_INLINE hn::Vec<hn::RebindToSigned<Floats>> truncateToSamples(V v) {
  const Floats d;
  const V positive = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
  return hn::ConvertTo(hn::RebindToSigned<Floats>(), hn::Min(positive, hn::Set(d, SampleScale<Sample>::kMost)));
}

template <typename Sample>
HWY_INLINE void storeSamples(V v, Sample* to) {
  const hn::Rebind<Sample, Floats> samples;
  hn::StoreU(hn::DemoteTo(samples, truncateToSamples<Sample>(v)), samples, to);
}

// What a tile leaves in the output picture, as floats on the picture's own scale.
template <typename Sample>
HWY_INLINE VectorRgb filteredSamples(const VectorRgb& p) {
  const Floats d;
  const V scale = hn::Set(d, SampleScale<Sample>::kFromEightBit);
  return {hn::ConvertTo(d, truncateToSamples<Sample>(hn::Mul(p.r, scale))),
          hn::ConvertTo(d, truncateToSamples<Sample>(hn::Mul(p.g, scale))),
          hn::ConvertTo(d, truncateToSamples<Sample>(hn::Mul(p.b, scale)))};
}

HWY_INLINE V highlightFactor(V y, const params::BlendSettings& s) {
  const Floats d;
  const V ramp = hn::Add(hn::Mul(hn::Set(d, s.highlightSlope), y), hn::Set(d, s.highlightIntercept));
  const V upper = hn::IfThenElse(hn::Ge(y, hn::Set(d, s.highlightHigh)), hn::Set(d, s.highlightAbove), ramp);
  return hn::IfThenElse(hn::Gt(y, hn::Set(d, s.highlightLow)), upper, hn::Set(d, s.highlightBelow));
}

HWY_INLINE V mixLuma(V original, V filtered, V share) {
  const VD one = hn::Set(Doubles(), 1.0);
  const Widened o = widen(original);
  const Widened s = widen(share);
  const Widened f = widen(hn::Mul(filtered, share));
  return narrow(hn::Add(hn::Mul(hn::Sub(one, s.low), o.low), f.low),
                hn::Add(hn::Mul(hn::Sub(one, s.high), o.high), f.high));
}

template <typename Sample>
HWY_INLINE VectorRgb mixPixels(const VectorRgb& original, const VectorRgb& filtered, const params::BlendSettings& s) {
  const Floats d;
  const VectorYcc in = toYcc(original);
  const VectorYcc nr = toYcc(filtered);
  const V working = hn::Mul(nr.y, hn::Set(d, SampleScale<Sample>::kToEightBit));
  const V lumaShare = hn::Mul(highlightFactor(working, s), hn::Set(d, s.luma));
  const V chroma = hn::Set(d, s.chroma);
  const V chromaKept = hn::Set(d, 1.0f - s.chroma);
  return toRgb({mixLuma(in.y, nr.y, lumaShare), hn::Add(hn::Mul(nr.bMinusY, chroma), hn::Mul(chromaKept, in.bMinusY)),
                hn::Add(hn::Mul(nr.rMinusY, chroma), hn::Mul(in.rMinusY, chromaKept))});
}

// One row: filtered planes on the 8-bit scale and the input's samples give the output's, in place of the latter.
template <typename Sample>
HWY_NOINLINE void recombineRow(const Rows& filtered, int pixels, const RowsOf<Sample>& samples,
                               const params::BlendSettings& s) {
  for (int x = 0; x < pixels; x += lanes()) {
    const VectorRgb nr = filteredSamples<Sample>(loadRgb(filtered, x));
    const VectorRgb mixed = mixPixels<Sample>(loadSampleRgb(samples, x), nr, s);
    storeSamples(mixed.r, samples.plane[0] + x);
    storeSamples(mixed.g, samples.plane[1] + x);
    storeSamples(mixed.b, samples.plane[2] + x);
  }
}

// One row of samples to planes on the 8-bit scale.
template <typename Sample>
HWY_NOINLINE void widenSamples(const RowsOf<Sample>& samples, int pixels, const Rows& to) {
  const V scale = hn::Set(Floats(), SampleScale<Sample>::kToEightBit);
  for (int x = 0; x < pixels; x += lanes()) {
    const VectorRgb p = loadSampleRgb(samples, x);
    storeRgb({hn::Mul(p.r, scale), hn::Mul(p.g, scale), hn::Mul(p.b, scale)}, to, x);
  }
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
