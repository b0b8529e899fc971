#include "gegl/form.h"

#include <cmath>
#include <cstdio>

namespace plugin {
namespace {

bool hasType(const Babl* format, const char* type) {
  for (int n = 0; n < babl_format_get_n_components(format); ++n) {
    if (babl_format_get_type(format, n) != babl_type(type)) return false;
  }
  return true;
}

struct Source {
  bool isGrey, hasAlpha, isDisplayed, isPerceptual;
};

Source examine(const Babl* format) {
  if (format == nullptr || babl_format_is_palette(format)) return {false, true, format != nullptr, false};
  const unsigned flags = babl_get_model_flags(babl_format_get_model(format));
  const bool isPerceptual = (flags & BABL_MODEL_FLAG_PERCEPTUAL) != 0;
  return {(flags & BABL_MODEL_FLAG_GRAY) != 0, babl_format_has_alpha(format) != 0,
          isPerceptual || (flags & BABL_MODEL_FLAG_NONLINEAR) != 0, isPerceptual};
}

const char* typeName(int type) {
  return type == VNR_UINT8 ? "u8" : (type == VNR_UINT16 ? "u16" : "float");
}

// By the marks that babl's names have: ' of the space's own curve, ~ of sRGB's, nothing for light.
const Babl* formatOf(const Source& source, int type, bool asLight, const Babl* space) {
  const char* mark = asLight ? "" : (source.isPerceptual ? "~" : "'");
  char name[32];
  if (source.isGrey) {
    std::snprintf(name, sizeof name, "Y%s%s %s", mark, source.hasAlpha ? "A" : "", typeName(type));
  } else {
    std::snprintf(name, sizeof name, "R%sG%sB%s%s %s", mark, mark, mark, source.hasAlpha ? "A" : "", typeName(type));
  }
  return babl_format_with_space(name, space);
}

int typeFor(const Babl* format, const Source& source, bool asLight) {
  if (asLight || format == nullptr || !source.isDisplayed) return VNR_FLOAT32;
  if (babl_format_is_palette(format) || hasType(format, "u8")) return VNR_UINT8;
  return hasType(format, "u16") ? VNR_UINT16 : VNR_FLOAT32;
}

}  // namespace

std::size_t Form::pixelBytes() const {
  return static_cast<std::size_t>(samples) * (type == VNR_FLOAT32 ? 4u : static_cast<unsigned>(type));
}

vnr_picture Form::picture(void* pixels, int x, int y, int width, int height) const {
  vnr_picture p = vnr_interleaved(type, width, height, samples < 3 ? 1 : 3, pixels, 0);
  p.encoding = encoding;
  p.x = x;
  p.y = y;
  p.pixel_stride = static_cast<ptrdiff_t>(pixelBytes());
  p.row_stride = width * p.pixel_stride;
  return p;
}

Form formFor(const Babl* source, bool asLight) {
  const Source seen = examine(source);
  Form form;
  form.type = typeFor(source, seen, asLight);
  form.samples = (seen.isGrey ? 1 : 3) + (seen.hasAlpha ? 1 : 0);
  form.encoding = asLight ? VNR_LINEAR : VNR_DISPLAY;
  form.format = formatOf(seen, form.type, asLight, source);
  return form;
}

void makeFinite(const Form& form, void* pixels, std::size_t count) {
  if (form.type != VNR_FLOAT32) return;
  auto* sample = static_cast<float*>(pixels);
  for (auto* end = sample + count * static_cast<std::size_t>(form.samples); sample != end; ++sample) {
    if (!std::isfinite(*sample)) *sample = 0.0f;
  }
}

}  // namespace plugin
