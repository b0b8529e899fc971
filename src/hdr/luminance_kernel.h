#ifndef VESKARO_HDR_LUMINANCE_KERNEL_H
#define VESKARO_HDR_LUMINANCE_KERNEL_H

#include "hdr/luminance.h"

namespace veskaro {
namespace vectors {

// The vector form of the luminance stage: the same bytes, without touching job.work. Returns the rows written,
// NR_ERROR_MEMORY with nothing written, or kNotTaken when the plain form has to do it: no vectors, or hardly any
// picture.
int denoiseLuminance(const LuminanceJob& job);

}  // namespace vectors
}  // namespace veskaro

#endif  // VESKARO_HDR_LUMINANCE_KERNEL_H
