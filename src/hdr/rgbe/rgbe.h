// Row-planar RGBE pictures: where a pixel's four bytes lie, and the way from bytes to floats and back.
#ifndef VESKARO_HDR_RGBE_RGBE_H
#define VESKARO_HDR_RGBE_RGBE_H

#include "hdr/rgbe/picture_memory.h"
#include "pixels/colour.h"

namespace veskaro::hdr {

using pixels::Rgb;

// A row of w pixels is four runs of w bytes: red, green and blue mantissas, then the shared exponents.
template <class Byte>
struct RgbeRowOf {
  Byte* r;
  Byte* g;
  Byte* b;
  Byte* e;
};
using RgbeRow = RgbeRowOf<unsigned char>;
using ConstRgbeRow = RgbeRowOf<const unsigned char>;

template <class Byte>
struct PictureOf {
  PictureSize size;
  Byte* bytes;

  RgbeRowOf<Byte> row(int y) const {
    const std::size_t w = static_cast<std::size_t>(size.width);
    Byte* const start = bytes + 4 * w * static_cast<std::size_t>(y);
    return {start, start + w, start + 2 * w, start + 3 * w};
  }
  std::size_t byteCount() const { return 4 * size.pixels(); }
};
using Picture = PictureOf<unsigned char>;
using ConstPicture = PictureOf<const unsigned char>;

inline ConstPicture readOnly(const Picture& picture) {
  return {picture.size, picture.bytes};
}

// expLUT: entry e is 2^(e - 136), the weight of one mantissa unit. Entries 0 to 9 are subnormal.
class ExponentTable {
 public:
  ExponentTable();
  float operator[](unsigned char e) const { return scale_[e]; }

 private:
  float scale_[256];
};

inline Rgb decode(const ConstRgbeRow& row, int i, const ExponentTable& table) {
  if (row.e[i] == 0) return {0.0f, 0.0f, 0.0f};
  const float scale = table[row.e[i]];
  return {row.r[i] * scale, row.g[i] * scale, row.b[i] * scale};
}

// False for a colour that no pixel can carry: infinite or not a number in any channel.
bool isEncodable(const Rgb& colour);

// Writes the four bytes of an encodable colour. One whose largest channel is at most 1e-32 becomes four zeros.
void encode(const Rgb& colour, const RgbeRow& row, int i);

void copyPixel(const ConstRgbeRow& from, const RgbeRow& to, int i);

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_RGBE_RGBE_H
