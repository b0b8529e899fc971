// Per-target: samples to the working scale and that of the blend, and back, a lane a sample. The steps and their order
// are those of sample_scale.h.
#if defined(VESKARO_PIXELS_SAMPLES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_PIXELS_SAMPLES_INL_H
#undef VESKARO_PIXELS_SAMPLES_INL_H
#else
#define VESKARO_PIXELS_SAMPLES_INL_H
#endif

#include <cstdint>

#include "pixels/sample_rows.h"
#include "pixels/sample_scale.h"
#include "simd/planar-inl.h"
#include "simd/rgb-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::pixels::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

// Rows of a picture. The planes have room for whole vectors of bytes behind their last sample.
template <typename Sample>
void loadRow(const PictureView& p, int x, int y, int pixels, const simd::RowsOf<Sample>& to) {
  const PackedOrder<Sample> packed(p);
  if (packed.isPacked) return deinterleaveRow(packed.firstOf(p, x, y), pixels, packed.inPixel(to));
  for (int c = 0; c < 3; ++c) loadChannel(p.at(c, x, y), p.pixelStride, pixels, to.plane[c]);
}

template <typename Sample>
void storeRow(const simd::RowsOf<Sample>& from, const PictureView& p, int x, int y, int pixels) {
  const PackedOrder<Sample> packed(p);
  if (packed.isPacked) return interleaveRow(packed.inPixel(from), pixels, packed.firstOf(p, x, y));
  for (int c = p.isGrey ? 1 : 0; c < (p.isGrey ? 2 : 3); ++c) {
    storeChannel(from.plane[c], p.pixelStride, pixels, p.at(c, x, y));
  }
}

HWY_INLINE V toWorking(V v, const SampleScale& s) {
  const Floats d;
  if (s.encoding == Encoding::kDisplay) return hn::Mul(v, hn::Set(d, s.toWorking));
  const V root = hn::Sqrt(hn::Div(hn::Abs(v), hn::Set(d, s.linearScale)));
  return hn::CopySign(hn::Mul(root, hn::Set(d, 255.0f)), v);
}

HWY_INLINE V fromWorking(V v, const SampleScale& s) {
  const Floats d;
  if (s.encoding == Encoding::kDisplay) return hn::Div(v, hn::Set(d, s.toWorking));
  const V root = hn::Div(v, hn::Set(d, 255.0f));
  return hn::CopySign(hn::Mul(hn::Mul(root, root), hn::Set(d, s.linearScale)), v);
}

// Samples on the scale of the blend: integers as they are, floats on the working scale.
template <typename Sample>
HWY_INLINE V blendValues(const Sample* from, const SampleScale& s) {
  const hn::Rebind<Sample, Floats> samples;
  const V v = hn::ConvertTo(Floats(), hn::PromoteTo(Ints(), hn::LoadU(samples, from)));
  return hn::Min(v, hn::Set(Floats(), s.white));
}
template <>
HWY_INLINE V blendValues<float>(const float* from, const SampleScale& s) {
  return toWorking(hn::LoadU(Floats(), from), s);
}

template <typename Sample>
HWY_INLINE VectorRgb blendValues(const simd::RowsOf<Sample>& row, int x, const SampleScale& s) {
  return {blendValues(row.plane[0] + x, s), blendValues(row.plane[1] + x, s), blendValues(row.plane[2] + x, s)};
}

HWY_INLINE V truncated(V v, float most) {
  const Floats d;
  const V positive = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
  return hn::ConvertTo(d, hn::ConvertTo(Ints(), hn::Min(positive, hn::Set(d, most))));
}

template <Rounding kRounding>
HWY_INLINE V rounded(V v, const SampleScale& s) {
  const Floats d;
  if (kRounding == Rounding::kTruncate) return truncated(v, s.most);
  if (kRounding == Rounding::kNone) return v;
  const V positive = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
  return hn::Round(hn::Min(positive, hn::Set(d, s.most)));
}

// A filtered sample on the scale of the blend, cut off there when rounding is by cutting off.
template <Rounding kRounding>
HWY_INLINE V filteredValue(V working, const SampleScale& s) {
  const V v = hn::Mul(working, hn::Set(Floats(), s.toBlend));
  return kRounding == Rounding::kTruncate ? truncated(v, s.most) : v;
}

// Rounded and stored; integers hold their values exactly by then.
template <typename Sample, Rounding kRounding>
HWY_INLINE void storeBlended(V v, const SampleScale& s, Sample* to) {
  const hn::Rebind<Sample, Floats> samples;
  const V value = rounded<kRounding>(v, s);
  if constexpr (sizeof(Sample) == sizeof(float)) {
    hn::StoreU(fromWorking(value, s), Floats(), to);
  } else {
    hn::StoreU(hn::DemoteTo(samples, hn::ConvertTo(Ints(), value)), samples, to);
  }
}

// A row of samples to the working scale. False when one of them is infinite or not a number there.
template <typename Sample>
HWY_NOINLINE bool toWorkingRow(const simd::RowsOf<Sample>& samples, int pixels, const SampleScale& s,
                               const simd::Rows& to) {
  const Floats d;
  const V factor = hn::Set(d, s.blendToWorking);
  Mask allFinite = hn::Eq(factor, factor);
  for (int x = 0; x < pixels; x += lanes()) {
    const VectorRgb p = times(blendValues(samples, x, s), factor);
    storeRgb(p, to, x);
    if constexpr (sizeof(Sample) == sizeof(float)) {
      const Mask isPixel = hn::FirstN(d, static_cast<std::size_t>(pixels - x));
      const Mask finite = hn::And(hn::And(hn::IsFinite(p.r), hn::IsFinite(p.g)), hn::IsFinite(p.b));
      allFinite = hn::And(allFinite, hn::Or(finite, hn::Not(isPixel)));
    }
  }
  return hn::AllTrue(d, allFinite);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::pixels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
