#ifndef VESKARO_FILTERS_SHARPEN_H
#define VESKARO_FILTERS_SHARPEN_H

#include "filters/rectangle.h"
#include "params/settings.h"

namespace veskaro {

// Sharpens the rectangle of a noise-reduced level of the given width into dest, by the records of the noise filter.
void sharpen(int width, const Rectangle& area, const float* reduced, const float* records, float* dest,
             const params::SharpenSettings& settings);

namespace plain {
void sharpen(int width, const Rectangle& area, const float* reduced, const float* records, float* dest,
             const params::SharpenSettings& settings);
}  // namespace plain

}  // namespace veskaro

#endif  // VESKARO_FILTERS_SHARPEN_H
