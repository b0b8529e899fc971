#include "vips/layout.h"

namespace plugin {
namespace {

constexpr char kDomain[] = "veskaro_denoise";

// 0: none that has red, green and blue, or grey.
int channelsOf(VipsInterpretation interpretation, int bands) {
  switch (interpretation) {
    case VIPS_INTERPRETATION_B_W:
    case VIPS_INTERPRETATION_GREY16:
      return 1;
    case VIPS_INTERPRETATION_sRGB:
    case VIPS_INTERPRETATION_RGB:
    case VIPS_INTERPRETATION_RGB16:
    case VIPS_INTERPRETATION_scRGB:
    case VIPS_INTERPRETATION_MULTIBAND:
      return bands < 3 ? 1 : 3;
    default:
      return 0;
  }
}

VipsBandFormat workingFormat(VipsBandFormat format) {
  return format == VIPS_FORMAT_UCHAR || format == VIPS_FORMAT_USHORT ? format : VIPS_FORMAT_FLOAT;
}

int typeOf(VipsBandFormat format) {
  return format == VIPS_FORMAT_UCHAR ? VNR_UINT8 : (format == VIPS_FORMAT_USHORT ? VNR_UINT16 : VNR_FLOAT32);
}

// The largest value that floats of an interpretation have.
float whiteOf(VipsInterpretation interpretation) {
  const bool isWide = interpretation == VIPS_INTERPRETATION_RGB16 || interpretation == VIPS_INTERPRETATION_GREY16;
  return isWide ? 65535.0f : 255.0f;
}

}  // namespace

vnr_picture Layout::picture(VipsRegion* region) const {
  const VipsRect& valid = region->valid;
  vnr_picture p =
      vnr_interleaved(type, valid.width, valid.height, channels, VIPS_REGION_ADDR(region, valid.left, valid.top), 0);
  p.encoding = encoding;
  p.white = white;
  p.x = valid.left;
  p.y = valid.top;
  p.pixel_stride = static_cast<ptrdiff_t>(VIPS_REGION_SIZEOF_PEL(region));
  p.row_stride = static_cast<ptrdiff_t>(VIPS_REGION_LSKIP(region));
  return p;
}

bool layoutOf(VipsImage* image, double white, Layout* layout, VipsBandFormat* format) {
  const VipsInterpretation interpretation = vips_image_guess_interpretation(image);
  layout->channels = channelsOf(interpretation, image->Bands);
  if (layout->channels == 0 || vips_band_format_iscomplex(image->BandFmt)) {
    const bool isComplex = vips_band_format_iscomplex(image->BandFmt);
    vips_error(kDomain, "%s images are not filtered; vips_colourspace() makes one that is",
               isComplex ? "complex" : vips_enum_nick(VIPS_TYPE_INTERPRETATION, interpretation));
    return false;
  }
  *format = workingFormat(image->BandFmt);
  layout->type = typeOf(*format);
  const bool isFloat = layout->type == VNR_FLOAT32;
  const bool isLight = isFloat && interpretation == VIPS_INTERPRETATION_scRGB;
  layout->encoding = isLight ? VNR_LINEAR : VNR_DISPLAY;
  layout->white = white > 0.0 ? static_cast<float>(white) : (isFloat ? whiteOf(interpretation) : 0.0f);
  return true;
}

}  // namespace plugin
