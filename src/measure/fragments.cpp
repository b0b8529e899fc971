#include "measure/fragments.h"

#include <algorithm>
#include <cmath>

#include "measure/haar/haar_block.h"

namespace veskaro::measure {
namespace {

// What a fragment holds of a sample.
template <typename Sample>
float fragmentValue(const unsigned char* at, const pixels::SampleScale& scale) {
  const float v = static_cast<float>(pixels::loadSample<Sample>(at));
  if (sizeof(Sample) < sizeof(float)) return (v < scale.white ? v : scale.white) * scale.toWorking;
  return scale.encoding == pixels::Encoding::kLinear ? v : pixels::toWorking(v, scale);
}

// One channel of one row. False when a sample is not a number.
template <typename Sample>
bool fillRow(const unsigned char* from, std::ptrdiff_t stride, int pixels, const pixels::SampleScale& scale,
             float* to) {
  bool onlyNumbers = true;
  for (int x = 0; x < pixels; ++x, from += stride) {
    to[x] = fragmentValue<Sample>(from, scale);
    onlyNumbers = onlyNumbers && (sizeof(Sample) < sizeof(float) || std::isfinite(to[x]));
  }
  return onlyNumbers;
}

template <typename Sample, int kSize>
bool fillFrom(FragmentOf<kSize>* fragment, int xBlock, int yBlock, const pixels::PictureView& piece,
              const pixels::SampleScale& scale) {
  const pixels::Region r = pixels::intersection(piece.region, {xBlock, xBlock + kSize, yBlock, yBlock + kSize});
  const int column = r.x0 - xBlock, count = r.x1 - r.x0;
  const std::uint32_t filled = 0xffffffffu >> (32 - count) << column;
  bool onlyNumbers = true;
  for (int y = r.y0; y < r.y1; ++y) {
    for (int k = 0; k < 3; ++k) {
      float* const to = fragment->values[k][y - yBlock] + column;
      onlyNumbers &= fillRow<Sample>(piece.at(k, r.x0, y), piece.pixelStride, count, scale, to);
    }
    fragment->filled[y - yBlock] |= filled;
  }
  return onlyNumbers;
}

}  // namespace

pixels::SampleScale fragmentScale(pixels::Encoding encoding) {
  return pixels::floatScale(255.0f, encoding, 1.0f, pixels::Rounding::kNone);
}

template <int kSize>
bool FragmentOf<kSize>::isFull() const {
  constexpr std::uint32_t kRow = 0xffffffffu >> (32 - kSize);
  return std::all_of(filled, filled + kSize, [](std::uint32_t row) { return row == kRow; });
}

template <int kSize>
pixels::PictureView FragmentOf<kSize>::view(int x, int y) {
  const auto plane = [this](int k) { return reinterpret_cast<unsigned char*>(values[k]); };
  return {pixels::SampleType::kFloat32, false, {plane(0), plane(1), plane(2)}, sizeof(float), sizeof(float) * kSize,
          {x, x + kSize, y, y + kSize}};
}

template <int kSize>
bool FragmentOf<kSize>::fill(int x, int y, const pixels::PictureView& piece, const pixels::SampleScale& scale) {
  return pixels::withSampleType(piece.type,
                                [&](auto sample) { return fillFrom<decltype(sample)>(this, x, y, piece, scale); });
}

template <int kSize>
void FragmentOf<kSize>::fill(const FragmentOf& other) {
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      if ((other.filled[y] >> x & 1u) == 0) continue;
      for (int k = 0; k < 3; ++k) values[k][y][x] = other.values[k][y][x];
    }
    filled[y] |= other.filled[y];
  }
}

template struct FragmentOf<kBlockSize>;
template struct FragmentOf<kHaarBlock>;

}  // namespace veskaro::measure
