// The filtered picture mixed with the input in luminance and chroma by separate shares. Highlights take
// less of the filtered luminance.
#ifndef VESKARO_BLEND_BLEND_H
#define VESKARO_BLEND_BLEND_H

#include "params/settings.h"
#include "pixels/colour.h"

namespace veskaro::blend {

// Both pixels on one scale, which times toWorking is the working one.
pixels::Ycc mixYcc(const pixels::Rgb& original, const pixels::Rgb& filtered, float toWorking,
                   const params::BlendSettings& settings);
pixels::Rgb mixPixel(const pixels::Rgb& original, const pixels::Rgb& filtered, float toWorking,
                     const params::BlendSettings& settings);

}  // namespace veskaro::blend

#endif  // VESKARO_BLEND_BLEND_H
